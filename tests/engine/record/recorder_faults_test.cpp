// A full disk, a vanished directory, a killed process: what was recorded plays, and recording can begin anew.
#include "record/recorder.h"

#include "file/file_source.h"
#include "index/sidecar_file.h"
#include "record/private_disk.h"
#include "record/stream_feeder.h"
#include "support/eventually.h"
#include "table/stderr_capture.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

bool is_beginning_of(const Bytes& beginning, const Bytes& whole) {
    return beginning.size() <= whole.size() && std::equal(beginning.begin(), beginning.end(), whole.begin());
}

class RecorderFaults : public testing::Test {
protected:
    RecorderSetup setup() const {
        RecorderSetup setup;
        setup.latin1_directory = directory_.string();
        setup.latin1_name = "a.ts";
        setup.writes_index = true;
        return setup;
    }
    /// Feeds until the recorder gives up.
    bool ends(Recorder& recorder) const {
        return eventually([&] {
            feed(recorder, stream_, 0, 188 * 70);
            return !recorder.is_running();
        });
    }

    /// What the child does.
    [[noreturn]] void record_until_killed() noexcept {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        Recorder recorder{setup(), real_time(), messages_, [] {}};
        for (std::size_t at = 0; at < stream_.size(); at += 188 * 20) {
            feed(recorder, stream_, at, std::min(at + 188 * 20, stream_.size()));
            std::this_thread::sleep_for(2ms);
        }
        while (true) {
            ::pause();
        }
    }

    ScratchFolder scratch_;
    MessageBoard messages_{real_time()};
    std::filesystem::path directory_ = scratch_.path() / "disk";
    bool is_made_ = std::filesystem::create_directory(directory_);
    Bytes stream_ = read_bytes(make_stream(ten_seconds()));
};

TEST_F(RecorderFaults, AFullDiskEndsItWithALineAndTheFilePlays) {
    const bool may_mount = with_private_disk(directory_, "size=256k", false, [&] {
        ASSERT_GT(stream_.size(), 300U << 10U);
        std::atomic<int> ends{0};
        const StderrCapture errors;
        {
            Recorder recorder{setup(), real_time(), messages_, [&] { ++ends; }};
            feed(recorder, stream_);
            EXPECT_TRUE(eventually([&] { return ends == 1; }));
            EXPECT_FALSE(recorder.is_running());
            EXPECT_EQ(recorder.facts().bytes, std::filesystem::file_size(directory_ / "a.ts"));
        }
        EXPECT_EQ(std::ranges::count_if(
                      errors.lines(),
                      [](const std::string& line) { return line.starts_with("velmora: record: "); }),
                  1);
        const Bytes recorded = read_bytes(directory_ / "a.ts");
        EXPECT_GT(recorded.size(), 100U << 10U);
        EXPECT_EQ(recorded.size() % 188, 0U);
        EXPECT_TRUE(is_beginning_of(recorded, stream_));
        EXPECT_NO_THROW(FileSource{(directory_ / "a.ts").string()});
        std::filesystem::remove(directory_ / "a.ts");
        Recorder again{setup(), real_time(), messages_, [] { ADD_FAILURE() << "there is room again"; }};
        feed(again, stream_, 0, 188 * 100);
    });
    if (!may_mount) {
        GTEST_SKIP() << "no right to mount";
    }
}

TEST_F(RecorderFaults, ADiskWithoutRoomForAFileOrForWritingRefuses) {
    const auto refuses = [&] {
        EXPECT_THROW(Recorder(setup(), real_time(), messages_, [] {}), RecordingError);
    };
    if (!with_private_disk(directory_, "nr_inodes=1", false, refuses) ||
        !with_private_disk(directory_, "size=1m", true, refuses)) {
        GTEST_SKIP() << "no right to mount";
    }
}

TEST_F(RecorderFaults, WhatComesFasterThanTheDiskTakesItIsLeftOutCountedAndTold) {
    constexpr std::size_t block_size = std::size_t{188} * 20'000;
    const auto block =
        std::make_shared<const PacketBlock>(PacketBlock{Bytes(block_size, 0x47), SteadyClock::now()});
    constexpr int blocks = 200; // 750 MB at once, of which 64 MiB may wait
    const StderrCapture errors;
    std::uint64_t lost = 0;
    {
        Recorder recorder{setup(), real_time(), messages_, [] { ADD_FAILURE() << "ended by itself"; }};
        for (int i = 0; i < blocks; ++i) {
            recorder.feed(block);
        }
        lost = recorder.facts().lost;
        EXPECT_GT(lost, 0U);
        EXPECT_TRUE(recorder.is_running());
        EXPECT_TRUE(eventually([&] { return recorder.facts().bytes + lost == blocks * block_size; }));
    }
    EXPECT_EQ(std::filesystem::file_size(directory_ / "a.ts"), blocks * block_size - lost);
    EXPECT_FALSE(errors.lines().empty());
}

TEST_F(RecorderFaults, AMissingDirectoryRefuses) {
    std::filesystem::remove(directory_);
    EXPECT_THROW(Recorder(setup(), real_time(), messages_, [] {}), RecordingError);
    scratch_.write("disk", {});
    EXPECT_THROW(Recorder(setup(), real_time(), messages_, [] {}), RecordingError);
}

TEST_F(RecorderFaults, WithoutFileHandlesItRefuses) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need file handles themselves, to look at an object";
#endif
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_THROW(Recorder(setup(), real_time(), messages_, [] {}), RecordingError);
    ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST_F(RecorderFaults, ADirectoryRemovedMeanwhileEndsItWithALine) {
    std::this_thread::sleep_for(1s); // another test may have had its line of this kind in this second
    std::atomic<int> ended{0};
    const StderrCapture errors;
    {
        Recorder recorder{setup(), real_time(), messages_, [&] { ++ended; }};
        feed(recorder, stream_, 0, 188 * 1000);
        ASSERT_TRUE(eventually([&] { return recorder.facts().bytes > 0; }));
        std::filesystem::remove_all(directory_);
        EXPECT_TRUE(ends(recorder));
        EXPECT_TRUE(eventually([&] { return ended == 1; }));
    }
    EXPECT_EQ(errors.lines().size(), 1U);
    std::filesystem::create_directory(directory_);
    {
        const Recorder again{setup(), real_time(), messages_,
                             [] { ADD_FAILURE() << "the directory is back"; }};
    }
    EXPECT_TRUE(std::filesystem::exists(directory_ / "a.ts"));
}

TEST_F(RecorderFaults, AnIndexThatCannotBeWrittenIsDoneWithout) {
    std::filesystem::create_directories(directory_ / "a.ts.idx" / "occupied");
    {
        Recorder recorder{setup(), real_time(), messages_,
                          [] { ADD_FAILURE() << "the recording itself is well"; }};
        feed(recorder, stream_);
    }
    EXPECT_EQ(read_bytes(directory_ / "a.ts"), stream_);
}

TEST_F(RecorderFaults, AKilledProcessLeavesAFileThatPlaysAndItsIndex) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer knows no threads of forked processes";
#endif
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        record_until_killed();
    }
    const auto file = directory_ / "a.ts";
    EXPECT_TRUE(eventually([&] {
        std::error_code none_yet;
        return std::filesystem::file_size(file, none_yet) > stream_.size() / 2 && !none_yet;
    }));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(is_beginning_of(read_bytes(file), stream_));
    const auto index = load_sidecar(std::make_shared<const FileSource>(file.string()));
    ASSERT_TRUE(index);
    EXPECT_FALSE(index->extent);
    EXPECT_FALSE(index->is_damaged);
    EXPECT_GE(index->points.size(), 4U);
}

} // namespace
} // namespace velmora::test
