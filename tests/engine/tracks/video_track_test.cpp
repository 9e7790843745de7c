// Hurrying to the first wanted picture changes how fast pictures come, not which ones.
#include "tracks/video_track.h"

#include "file/stream_feed.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <ostream>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace velmora {
namespace {

using namespace std::chrono_literals;

struct Case {
    std::string name;
    std::string codec;
    std::string options;
};

void PrintTo(const Case& which, std::ostream* out) {
    *out << which.name;
}

/// Where a picture stands, and the sum of its brightness.
using Seen = std::pair<Position, std::uint64_t>;

Seen look_at(const Picture& picture) {
    const AVFrame& frame = *picture.frame;
    std::uint64_t sum = 0;
    for (int row = 0; row < frame.height; ++row) {
        const std::span line{frame.data[0] + std::ptrdiff_t{row} * frame.linesize[0],
                             static_cast<std::size_t>(frame.width)};
        sum = std::accumulate(line.begin(), line.end(), sum);
    }
    return {picture.position, sum};
}

class HurryingTrack : public testing::TestWithParam<Case> {
protected:
    static std::filesystem::path large_pictures() {
        StreamRecipe recipe;
        recipe.codec = GetParam().codec;
        recipe.width = 1280;
        recipe.height = 720;
        recipe.duration = 5;
        recipe.gop = 50;
        recipe.bframes = 3;
        recipe.video_options = GetParam().options;
        return make_stream(recipe);
    }

    static std::vector<Seen> decode(VideoTrack track, Position wanted_from) {
        StreamFeed feed{std::make_shared<const FileSource>(large_pictures().string())};
        std::vector<Seen> seen;
        const auto take_ready = [&] {
            std::ranges::transform(track.ready(), std::back_inserter(seen), look_at);
            track.ready().clear();
        };
        track.restart(wanted_from);
        do {
            while (auto unit = feed.units().take_video()) {
                track.decode(std::move(*unit));
                take_ready();
            }
        } while (feed.read_more() || feed.units().has_video());
        track.finish();
        take_ready();
        return seen;
    }
};

TEST_P(HurryingTrack, ShowsWhatAnyOtherShows) {
    const Position target{1500ms};
    const auto plain = decode(VideoTrack{}, target);
    ASSERT_GT(plain.size(), 80U);
    for (const Hurry hurry : {Hurry::to_wanted, Hurry::always}) {
        VideoTrack hurrying;
        hurrying.set_hurry(hurry);
        EXPECT_EQ(decode(std::move(hurrying), target), plain);
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, HurryingTrack,
                         testing::Values(Case{"H264", "h264", ""},
                                         Case{"H264OpenGop", "h264", "-x264-params open-gop=1"},
                                         Case{"Hevc", "hevc", ""}),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
} // namespace velmora
