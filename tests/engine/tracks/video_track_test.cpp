// More threads change how fast pictures come, not which ones.
#include "tracks/video_track.h"

#include "file/stream_feed.h"
#include "support/stream_maker.h"
#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <numeric>
#include <ostream>
#include <span>
#include <string>
#include <thread>
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

std::ptrdiff_t threads_of_process() {
    return std::distance(std::filesystem::directory_iterator{"/proc/self/task"}, {});
}

StreamRecipe large_pictures(const Case& which) {
    StreamRecipe recipe;
    recipe.codec = which.codec;
    recipe.width = 1280;
    recipe.height = 720;
    recipe.duration = 5;
    recipe.gop = 50;
    recipe.bframes = 3;
    recipe.video_options = which.options;
    return recipe;
}

/// Every picture costs the same, whatever it takes this machine.
struct CostlyTime : RealTime {
    explicit CostlyTime(Seconds each) : cost{each} {}
    Seconds measure(const DecodingWork& /*work*/, const std::function<void()>& decode) override {
        decode();
        return cost;
    }

    const Seconds cost;
};

class HurryingTrack : public testing::TestWithParam<Case> {
protected:
    std::vector<Seen> decode(VideoTrack track, Position wanted_from) {
        StreamFeed feed{std::make_shared<const FileSource>(stream_.string())};
        std::vector<Seen> seen;
        threads_ = 0;
        const auto take_ready = [&] {
            std::ranges::transform(track.ready(), std::back_inserter(seen), look_at);
            track.ready().clear();
            threads_ = std::max(threads_, threads_of_process());
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

    std::filesystem::path stream_{make_stream(large_pictures(GetParam()))};
    std::ptrdiff_t threads_{0}; ///< most of them at a time while a stream was decoded
};

TEST_P(HurryingTrack, ShowsWhatAnyOtherShows) {
    const Position target{1500ms};
    const auto plain = decode(VideoTrack{real_time()}, target);
    ASSERT_GT(plain.size(), 80U);
    for (const Hurry hurry : {Hurry::to_wanted, Hurry::always}) {
        VideoTrack hurrying{real_time()};
        hurrying.set_hurry(hurry);
        EXPECT_EQ(decode(std::move(hurrying), target), plain);
    }
}

class HurryingLiveTrack : public HurryingTrack {
protected:
    static constexpr std::size_t pictures = 3 * 25;

    HurryingLiveTrack() {
        StreamRecipe recipe = large_pictures(GetParam());
        recipe.gop = 25;
        recipe.duration = 3;
        stream_ = make_stream(recipe);
    }

    /// @param cost of each picture, whatever it takes this machine
    std::vector<Seen> decode_live(std::chrono::milliseconds cost) {
        CostlyTime time{cost};
        VideoTrack live{time};
        live.decode_without_delay();
        return decode(std::move(live), Position::min());
    }
};

TEST_P(HurryingLiveTrack, ShowsWhatAnyOtherShows) {
    const auto plain = decode(VideoTrack{real_time()}, Position::min());
    ASSERT_EQ(plain.size(), pictures);
    const auto threads_of_one = threads_of_process();
    EXPECT_EQ(decode_live(4ms), plain);
    EXPECT_EQ(threads_, threads_of_one) << "one thread is fast enough";
    EXPECT_EQ(decode_live(50ms), plain);
    if (std::thread::hardware_concurrency() > 1) {
        EXPECT_GT(threads_, threads_of_one) << "longer than a picture lasts";
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, HurryingLiveTrack,
                         testing::Values(Case{"H264", "h264", ""}, Case{"Hevc", "hevc", ""}),
                         [](const auto& instance) { return instance.param.name; });

INSTANTIATE_TEST_SUITE_P(Streams, HurryingTrack,
                         testing::Values(Case{"H264", "h264", ""},
                                         Case{"H264OpenGop", "h264", "-x264-params open-gop=1"},
                                         Case{"Hevc", "hevc", ""}),
                         [](const auto& instance) { return instance.param.name; });

} // namespace
} // namespace velmora
