// A cyclic recording keeps the latest of what arrived, in files that can each be played.
#include "record/recorder.h"

#include "file/tag_list.h"
#include "index/scanned_points.h"
#include "index/sidecar_file.h"
#include "record/stream_feeder.h"
#include "support/eventually.h"
#include "ts/ts_packet.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

class CyclicRecording : public testing::Test {
protected:
    RecorderSetup setup(std::chrono::seconds cycle) const {
        RecorderSetup setup;
        setup.latin1_directory = folder_.string();
        setup.latin1_name = "a.ts";
        setup.cycle = cycle;
        setup.writes_index = true;
        return setup;
    }
    std::filesystem::path file(const std::string& name) const { return folder_ / name; }
    /// Names of what is left in the folder.
    std::set<std::string> left() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator{folder_}) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }
    /// Feeds a second of the stream after the other, each when the one before is written.
    void feed_in_steps(Recorder& recorder, std::size_t begin, std::size_t end) const {
        for (std::size_t at = begin; at < end; at += step_) {
            const RecordingFacts before = recorder.facts();
            feed(recorder, stream_, at, std::min(at + step_, end));
            ASSERT_TRUE(eventually([&] {
                const RecordingFacts facts = recorder.facts();
                return facts.path != before.path || facts.bytes > before.bytes || !recorder.is_running();
            }));
        }
    }

    ScratchFolder scratch_;
    MessageBoard messages_{real_time()};
    std::filesystem::path folder_{[this] {
        const auto folder = scratch_.path() / "cyclic";
        std::filesystem::create_directory(folder);
        return folder;
    }()};
    Bytes stream_ = read_bytes(make_stream(ten_seconds()));
    std::size_t step_ = stream_.size() / 10 / 188 * 188;
    std::function<void()> fail_on_end_ = [] { ADD_FAILURE() << "ended by itself"; };
};

TEST_F(CyclicRecording, GoesOnInTheNextFileWithTablesAndTheSamePacket) {
    {
        Recorder recorder{setup(4s), real_time(), messages_, fail_on_end_};
        feed(recorder, stream_, 0, 7 * step_);
    }
    ASSERT_EQ(left(), (std::set<std::string>{"a.ts", "a.ts.idx", "a_2.ts", "a_2.ts.idx"}));
    const Bytes first = read_bytes(file("a.ts"));
    const Bytes second = read_bytes(file("a_2.ts"));
    constexpr std::size_t tables = std::size_t{2} * 188;
    ASSERT_GT(second.size(), tables);
    const auto packet = [&](std::size_t number) {
        return parse_ts_packet(std::span{second}.subspan(number * 188).first<188>(), 0).value();
    };
    EXPECT_EQ(packet(0).pid, 0) << "the PAT";
    EXPECT_TRUE(packet(2).random_access && packet(2).payload_unit_start) << "an access point";
    Bytes both = first;
    both.insert(both.end(), second.begin() + tables, second.end());
    EXPECT_TRUE(std::equal(both.begin(), both.end(), stream_.begin())) << "no packet is lost";
    EXPECT_EQ(both.size(), 7 * step_);
    for (const char* const name : {"a.ts", "a_2.ts"}) {
        const auto index = load_sidecar(open(file(name)));
        ASSERT_TRUE(index && index->extent) << name;
        EXPECT_TRUE(std::ranges::equal(index->points, points_of(file(name)), same)) << name;
    }
    EXPECT_EQ(load_sidecar(open(file("a.ts")))->extent->end, Position{4s}) << "cut in time";
}

TEST_F(CyclicRecording, KeepsTheLatestAndNothingElse) {
    {
        Recorder recorder{setup(2s), real_time(), messages_, fail_on_end_};
        feed_in_steps(recorder, 0, 5 * step_);
        recorder.mark();
        feed_in_steps(recorder, 5 * step_, stream_.size());
        EXPECT_LE(left().size(), 5U) << "two files with an index each, one with a tag";
    }
    std::vector<std::string> files;
    for (const std::string& name : left()) {
        if (name.ends_with(".ts")) {
            files.push_back(name);
        }
    }
    EXPECT_EQ(files, (std::vector<std::string>{"a_4.ts", "a_5.ts"})) << "no name is used again";
    EXPECT_TRUE(left().contains("a_4.ts.idx") && left().contains("a_5.ts.idx"));
    EXPECT_FALSE(left().contains("a_2.ts.tags") || left().contains("a_3.ts.tags"));
    EXPECT_EQ(load_sidecar(open(file("a_4.ts")))->extent->end, Position{2s});
    const Bytes last = read_bytes(file("a_5.ts"));
    EXPECT_TRUE(std::equal(last.rbegin(), last.rend() - 2 * 188, stream_.rbegin()))
        << "up to the last packet";
}

TEST_F(CyclicRecording, TellsAndMarksTheFileThatIsWritten) {
    Recorder recorder{setup(4s), real_time(), messages_, fail_on_end_};
    feed_in_steps(recorder, 0, 6 * step_);
    ASSERT_TRUE(eventually([&] { return recorder.facts().path == file("a_2.ts"); }));
    ASSERT_TRUE(eventually([&] { return recorder.facts().length >= 1s; }));
    EXPECT_LT(recorder.facts().length, 3s);
    EXPECT_EQ(recorder.facts().bytes, std::filesystem::file_size(file("a_2.ts")));
    recorder.mark();
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(file("a_2.ts.tags")); }));
    EXPECT_LT(TagList{file("a_2.ts")}.at(0).value_or(9), 3);
    EXPECT_FALSE(std::filesystem::exists(file("a.ts.tags")));
}

TEST_F(CyclicRecording, AStreamWithoutAccessPointsIsCutLater) {
    Bytes nulls(188 * 7, 0xFF);
    for (std::size_t at = 0; at < nulls.size(); at += 188) {
        std::ranges::copy(Bytes{0x47, 0x1F, 0xFF, 0x10}, nulls.begin() + static_cast<std::ptrdiff_t>(at));
    }
    {
        Recorder recorder{setup(2s), real_time(), messages_, fail_on_end_};
        const auto now = SteadyClock::now();
        for (int second = 0; second < 30; ++second) {
            recorder.feed(
                std::make_shared<const PacketBlock>(PacketBlock{nulls, now + std::chrono::seconds{second}}));
            if (second % 5 == 4) {
                const auto before = recorder.facts();
                ASSERT_TRUE(eventually([&] { return recorder.facts().path != before.path; }));
            }
        }
    }
    EXPECT_EQ(left().size(), 4U);
    EXPECT_FALSE(left().contains("a.ts"));
}

TEST_F(CyclicRecording, EndsWhereTheNextFileCannotBeCreated) {
    std::atomic<int> ends{0};
    Recorder recorder{setup(4s), real_time(), messages_, [&] { ++ends; }};
    feed_in_steps(recorder, 0, 2 * step_);
    const auto moved = scratch_.path() / "moved";
    std::filesystem::rename(folder_, moved);
    feed(recorder, stream_, 2 * step_, stream_.size());
    ASSERT_TRUE(eventually([&] { return ends == 1; }));
    EXPECT_FALSE(recorder.is_running());
    const Bytes written = read_bytes(moved / "a.ts");
    EXPECT_GT(written.size(), stream_.size() / 3);
    EXPECT_TRUE(std::equal(written.begin(), written.end(), stream_.begin()));
}

TEST_F(CyclicRecording, ItsLimitCountsWhatIsDeletedToo) {
    RecorderSetup limited = setup(2s);
    limited.limit = 7s;
    std::atomic<int> ends{0};
    Recorder recorder{limited, real_time(), messages_, [&] { ++ends; }};
    feed_in_steps(recorder, 0, stream_.size());
    EXPECT_TRUE(eventually([&] { return ends == 1; }));
    EXPECT_EQ(recorder.facts().path, file("a_4.ts"));
}

} // namespace
} // namespace velmora::test
