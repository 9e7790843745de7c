// Bisection finds what a scan of the whole file finds.
#include "index/bisector.h"

#include "index/scanned_points.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace velmora {

void PrintTo(const AccessPoint& point, std::ostream* out) {
    *out << "access point at byte " << point.offset << ", " << point.presentation.time_since_epoch().count();
}

namespace {

using namespace std::chrono_literals;

using test::open;
using test::scan;

constexpr int seconds = 40;

StreamRecipe forty_seconds(const std::string& codec, int gop, const std::string& options = {}) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = seconds;
    recipe.gop = gop;
    recipe.audio = "mp2";
    recipe.video_options = options;
    return recipe;
}

void expect_the_same_points(const std::filesystem::path& file) {
    const auto source = open(file);
    AccessPointIndex index;
    scan(source, index);
    Bisector bisector{source};
    ASSERT_TRUE(bisector.end());
    EXPECT_LE(abs(*bisector.end() - index.extent().end), Ticks{100ms});
    std::mt19937 random{3};
    std::uniform_int_distribution<Ticks::rep> any_tick{0, Ticks{seconds * 1s}.count() - 9000};
    for (int i = 0; i < 50; ++i) {
        const Position target{Ticks{any_tick(random)}};
        const auto expected = index.find(target);
        const auto found = bisector.find(target);
        ASSERT_TRUE(expected && found) << target.time_since_epoch().count();
        EXPECT_EQ(found->offset, expected->offset) << target.time_since_epoch().count();
        EXPECT_EQ(found->presentation, expected->presentation);
        EXPECT_EQ(found->clean_from, expected->clean_from);
        EXPECT_EQ(found->anchor.stream, expected->anchor.stream);
        EXPECT_EQ(found->anchor.position, expected->anchor.position);
        EXPECT_EQ(*found->streams, *expected->streams);
    }
}

/// A file made of others.
class JoinedFile {
public:
    explicit JoinedFile(const std::vector<std::filesystem::path>& parts) {
        std::ofstream out{path_, std::ios::binary};
        for (const auto& part : parts) {
            out << std::ifstream{part, std::ios::binary}.rdbuf();
        }
    }
    ~JoinedFile() { std::filesystem::remove(path_); }
    JoinedFile(const JoinedFile&) = delete;
    JoinedFile& operator=(const JoinedFile&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("bisector-" + std::to_string(::getpid()) + ".ts");
};

TEST(BisectorTest, FindsThePointsOfClosedGroups) {
    expect_the_same_points(make_stream(forty_seconds("h264", 50)));
}

TEST(BisectorTest, FindsThePointsOfLongGroups) {
    expect_the_same_points(make_stream(forty_seconds("h264", 250)));
}

TEST(BisectorTest, FindsThePointsOfAnIntraRefresh) {
    expect_the_same_points(make_stream(forty_seconds("h264", 50, "-x264-params intra-refresh=1:bframes=0")));
}

TEST(BisectorTest, FindsThePointsOfMpeg2) {
    expect_the_same_points(make_stream(forty_seconds("mpeg2", 15)));
}

TEST(BisectorTest, FindsThePointsAcrossAWrapOfTheTimeStamps) {
    StreamRecipe recipe = forty_seconds("h264", 50);
    recipe.start = 95443.7 - 20;
    expect_the_same_points(make_stream(recipe));
}

TEST(BisectorTest, FindsThePointsOfSoundAlone) {
    expect_the_same_points(make_stream(forty_seconds("none", 50)));
}

TEST(BisectorTest, LeavesAFileOfTwoPiecesToTheScan) {
    const auto part = make_stream(forty_seconds("h264", 50));
    const JoinedFile joined{{part, part}};
    Bisector bisector{open(joined.path())};
    EXPECT_FALSE(bisector.end());
    EXPECT_FALSE(bisector.find(Position{60s}));
}

TEST(BisectorTest, LeavesWhatLiesBehindTheEndToTheScan) {
    Bisector bisector{open(make_stream(forty_seconds("h264", 50)))};
    EXPECT_FALSE(bisector.find(Position{seconds * 1s + 1s}));
}

} // namespace
} // namespace velmora
