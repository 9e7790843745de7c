// A recording is what arrived, bit for bit, with an index and tags beside it.
#include "record/recorder.h"

#include "file/tag_list.h"
#include "index/index_scanner.h"
#include "index/scanned_points.h"
#include "index/sidecar_file.h"
#include "record/stream_feeder.h"
#include "support/eventually.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <set>
#include <thread>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

class RecorderTest : public testing::Test {
protected:
    RecorderSetup setup(const std::string& name = {}) const {
        RecorderSetup setup;
        setup.latin1_directory = scratch_.path().string();
        setup.latin1_name = name;
        setup.writes_index = true;
        return setup;
    }
    std::filesystem::path file(const std::string& name) const { return scratch_.path() / name; }

    ScratchFolder scratch_;
    MessageBoard messages_{real_time()};
    Bytes stream_ = read_bytes(make_stream(ten_seconds()));
    std::size_t step_ = stream_.size() / 20 / 188 * 188; ///< about half a second
    std::function<void()> fail_on_end_ = [] { ADD_FAILURE() << "ended by itself"; };
};

TEST_F(RecorderTest, WritesWhatArrivedAndTellsIt) {
    {
        Recorder recorder{setup("a.ts"), real_time(), messages_, fail_on_end_};
        EXPECT_TRUE(recorder.is_running());
        EXPECT_EQ(recorder.facts().path, file("a.ts").string());
        feed(recorder, stream_);
        EXPECT_TRUE(eventually([&] { return recorder.facts().bytes == stream_.size(); }));
        EXPECT_EQ(recorder.facts().length, 10s);
        EXPECT_EQ(recorder.facts().lost, 0U);
    }
    EXPECT_EQ(read_bytes(file("a.ts")), stream_);
}

TEST_F(RecorderTest, WritesWhatWaitsBeforeItCloses) {
    {
        Recorder recorder{setup("a.ts"), real_time(), messages_, fail_on_end_};
        feed(recorder, stream_);
    }
    EXPECT_EQ(read_bytes(file("a.ts")), stream_);
}

TEST_F(RecorderTest, LeavesTheIndexOfAScan) {
    {
        Recorder recorder{setup("a.ts"), real_time(), messages_, fail_on_end_};
        feed(recorder, stream_);
    }
    const auto index = load_sidecar(open(file("a.ts")));
    ASSERT_TRUE(index);
    ASSERT_TRUE(index->extent);
    EXPECT_EQ(index->extent->covered, stream_.size());
    EXPECT_EQ(index->extent->end, Position{10s});
    const auto expected = points_of(file("a.ts"));
    EXPECT_TRUE(std::ranges::equal(index->points, expected, same));
    EXPECT_EQ(expected.size(), 10U);
}

TEST_F(RecorderTest, LeavesNoIndexUnasked) {
    RecorderSetup plain = setup("a.ts");
    plain.writes_index = false;
    scratch_.write("a.ts.idx", Bytes(100, 'x'));
    { const Recorder recorder{plain, real_time(), messages_, fail_on_end_}; }
    EXPECT_FALSE(std::filesystem::exists(file("a.ts.idx"))) << "of a file that is gone";
}

TEST_F(RecorderTest, NamesFilesByTheTimeAndNeverTouchesAnother) {
    const Recorder first{setup(), real_time(), messages_, fail_on_end_};
    const Recorder second{setup(), real_time(), messages_, fail_on_end_};
    const Recorder third{setup(), real_time(), messages_, fail_on_end_};
    std::set<std::string> paths;
    for (const Recorder* const recorder : {&first, &second, &third}) {
        const std::filesystem::path path = recorder->facts().path;
        std::string shape = path.filename().string();
        std::ranges::replace_if(
            shape, [](char character) { return character >= '0' && character <= '9'; }, '0');
        EXPECT_TRUE(shape == "0000-00-00_00-00-00.ts" || shape == "0000-00-00_00-00-00_0.ts") << path;
        EXPECT_TRUE(std::filesystem::exists(path));
        paths.insert(path);
    }
    EXPECT_EQ(paths.size(), 3U);
    scratch_.write("b.ts", {1, 2, 3});
    const Recorder named{setup("b.ts"), real_time(), messages_, fail_on_end_};
    const Recorder again{setup("b.ts"), real_time(), messages_, fail_on_end_};
    EXPECT_EQ(named.facts().path, file("b_2.ts").string());
    EXPECT_EQ(again.facts().path, file("b_3.ts").string());
    EXPECT_EQ(read_bytes(file("b.ts")), (Bytes{1, 2, 3}));
}

TEST_F(RecorderTest, FindsDirectoriesThatAreNamedInLatin1OrUtf8) {
    for (const std::string written : {"\xC3\xA4", "\xE4"}) {
        std::filesystem::create_directory(file(written));
        RecorderSetup latin1 = setup("\xE4.ts");
        latin1.latin1_directory = file("\xE4").string();
        std::string path;
        {
            Recorder recorder{latin1, real_time(), messages_, fail_on_end_};
            feed(recorder, stream_);
            path = recorder.facts().path;
        }
        EXPECT_EQ(path, file(written) / (written + ".ts"));
        EXPECT_EQ(FileSource{latin1.latin1_directory + "/\xE4.ts"}.path(), path) << "players find it too";
        std::filesystem::remove_all(file(written));
    }
}

TEST_F(RecorderTest, MarksTheSecondRecordedLast) {
    scratch_.write("a.ts.tags", {'3', '\n'});
    Recorder recorder{setup("a.ts"), real_time(), messages_, fail_on_end_};
    recorder.mark();
    const std::size_t half = stream_.size() / 188 / 2 * 188;
    feed(recorder, stream_, 0, half);
    ASSERT_TRUE(eventually([&] { return recorder.facts().bytes == half; }));
    const auto second = recorder.facts().length.count();
    ASSERT_GT(second, 1);
    recorder.mark();
    EXPECT_TRUE(eventually([&] {
        std::ifstream tags{file("a.ts.tags")};
        const std::string text{std::istreambuf_iterator<char>{tags}, {}};
        // The last picture begins before the length ends, where that is a whole second.
        return text == "0\n" + std::to_string(second) + '\n' ||
               text == "0\n" + std::to_string(second - 1) + '\n';
    }));
}

TEST_F(RecorderTest, KeepsTheTagsThatAPlayerMarksMeanwhile) {
    Recorder recorder{setup("a.ts"), real_time(), messages_, fail_on_end_};
    TagList players{recorder.facts().path};
    players.mark(7);
    players.save();
    recorder.mark();
    const auto tagged = [&](std::vector<int> seconds) {
        return eventually([&] {
            const TagList tags{recorder.facts().path};
            return std::ranges::all_of(seconds,
                                       [&, i = 0](int second) mutable { return tags.at(i++) == second; });
        });
    };
    EXPECT_TRUE(tagged({0, 7}));
    players.mark(9);
    players.save();
    EXPECT_TRUE(tagged({0, 7, 9}));
}

TEST_F(RecorderTest, EndsByItselfAtItsLimit) {
    RecorderSetup limited = setup("a.ts");
    limited.limit = 4s;
    std::atomic<int> ends{0};
    Recorder recorder{limited, real_time(), messages_, [&] { ++ends; }};
    for (std::size_t at = 0; at < stream_.size() && recorder.is_running(); at += step_) {
        feed(recorder, stream_, at, std::min(at + step_, stream_.size()));
        ASSERT_TRUE(eventually([&] { return !recorder.is_running() || recorder.facts().bytes > at; }));
    }
    ASSERT_TRUE(eventually([&] { return ends == 1; }));
    EXPECT_FALSE(recorder.is_running());
    EXPECT_EQ(recorder.facts().length, 4s);
    EXPECT_EQ(recorder.facts().bytes, std::filesystem::file_size(file("a.ts")));
    feed(recorder, stream_);
    EXPECT_EQ(recorder.facts().lost, 0U);
    const auto index = load_sidecar(open(file("a.ts")));
    EXPECT_TRUE(index && index->extent) << "complete when the end is told";
}

TEST_F(RecorderTest, StreamsWithoutTimeAreAsLongAsTheyTookToArrive) {
    Bytes nulls(188 * 7, 0xFF);
    for (std::size_t at = 0; at < nulls.size(); at += 188) {
        std::ranges::copy(Bytes{0x47, 0x1F, 0xFF, 0x10}, nulls.begin() + static_cast<std::ptrdiff_t>(at));
    }
    Recorder recorder{setup("a.ts"), real_time(), messages_, fail_on_end_};
    const auto now = SteadyClock::now();
    for (const auto arrived : {now, now + 3s, now + 7s}) {
        recorder.feed(std::make_shared<const PacketBlock>(PacketBlock{nulls, arrived}));
    }
    EXPECT_TRUE(eventually([&] { return recorder.facts().length == 7s; }));
}

TEST_F(RecorderTest, StartedAndStoppedAHundredTimesLosesNothingInBetween) {
    for (int round = 0; round < 100; ++round) {
        const std::size_t size = std::size_t{188} * (1 + static_cast<std::size_t>(round));
        std::string path;
        {
            Recorder recorder{setup(), real_time(), messages_, fail_on_end_};
            feed(recorder, stream_, 0, size);
            path = recorder.facts().path;
        }
        EXPECT_EQ(std::filesystem::file_size(path), size);
    }
    const auto is_recording = [](const auto& entry) { return entry.path().extension() == ".ts"; };
    EXPECT_EQ(std::ranges::count_if(std::filesystem::directory_iterator{scratch_.path()}, is_recording), 100);
}

TEST_F(RecorderTest, CanBeScannedWhileItGrows) {
    auto recorder = std::make_unique<Recorder>(setup("a.ts"), real_time(), messages_, fail_on_end_);
    const std::size_t half = stream_.size() / 188 / 2 * 188;
    feed(*recorder, stream_, 0, half);
    ASSERT_TRUE(eventually([&] { return recorder->facts().bytes == half; }));
    const auto unfinished = load_sidecar(open(file("a.ts")));
    ASSERT_TRUE(unfinished) << "what is written can be found at once";
    EXPECT_FALSE(unfinished->extent);
    EXPECT_GE(unfinished->points.size(), 4U);
    auto index = std::make_shared<AccessPointIndex>();
    const auto source = open(file("a.ts"));
    const IndexScanner scanner{source,      std::make_shared<FileGrowth>(source, real_time().now()),
                               index,       SidecarUse::kept,
                               real_time(), [] {}};
    EXPECT_TRUE(eventually([&] { return index->extent().growing && index->extent().end > Position{4s}; }));
    for (std::size_t at = half; at < stream_.size(); at += step_) {
        const std::size_t end = std::min(at + step_, stream_.size());
        feed(*recorder, stream_, at, end);
        ASSERT_TRUE(eventually([&] { return recorder->facts().bytes == end; }));
    }
    EXPECT_TRUE(eventually([&] { return index->extent().end >= Position{9s}; })) << "while it is recorded";
    recorder.reset();
    EXPECT_TRUE(eventually([&] { return index->extent().complete && !index->extent().growing; }));
    EXPECT_EQ(index->extent().end, Position{10s});
    EXPECT_TRUE(std::ranges::equal(index->points(), points_of(file("a.ts")), same));
}

} // namespace
} // namespace velmora::test
