// Files that are opened backward: they begin at their end, whatever is there to decode.
#include "engine_under_test.h"
#include "field_stream.h"
#include "scratch_files.h"
#include "stream_surgery.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ostream>

namespace {

using namespace std::chrono_literals;

constexpr int group = 25;
constexpr std::size_t packet_size = 188;
constexpr unsigned video_pid = 0x100;
constexpr unsigned sound_pid = 0x101;

StreamRecipe two_seconds(const std::string& options = {}) {
    StreamRecipe recipe;
    recipe.audio = "mp2";
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 2;
    recipe.gop = group;
    recipe.video_options = options;
    return recipe;
}

/// Without its first picture, and ended inside of the picture at which the second group begins.
Bytes ended_in_its_only_key_picture(Bytes stream, std::size_t packets_left) {
    const auto starts = picture_starts(stream);
    stream.resize(starts.at(group) + packets_left * packet_size);
    const auto begin = stream.begin();
    stream.erase(begin + static_cast<std::ptrdiff_t>(starts[0]),
                 begin + static_cast<std::ptrdiff_t>(starts[1]));
    return stream;
}

/// Of the only key picture nothing is left behind the head of its slice.
Bytes with_emptied_key_picture() {
    Bytes stream = ended_in_its_only_key_picture(read_bytes(make_stream(two_seconds())), 1);
    constexpr std::array<std::uint8_t, 4> key_slice{0, 0, 1, 0x65};
    const auto slice = std::find_end(stream.begin(), stream.end(), key_slice.begin(), key_slice.end());
    std::fill(slice + key_slice.size() + 1, stream.end(), std::uint8_t{0});
    return stream;
}

/// A refresh that begins two pictures in front of the end, and is never complete.
Bytes with_unfinished_refresh() {
    Bytes stream = read_bytes(make_stream(two_seconds("-x264-params intra-refresh=1")));
    const auto starts = picture_starts(stream);
    stream.resize(starts.at(group + 2));
    const auto begin = stream.begin();
    stream.erase(begin + static_cast<std::ptrdiff_t>(starts[0]),
                 begin + static_cast<std::ptrdiff_t>(starts[1]));
    return stream;
}

/// Of the first picture only the parameters of the stream are left, of the last one not even its first field.
Bytes with_unfinished_key_fields() {
    Bytes stream = make_field_stream(group + 1, FieldUnits::both_in_one);
    const auto starts = picture_starts(stream);
    stream.resize(starts.at(group) + packet_size);
    const auto begin = stream.begin();
    stream.erase(begin + static_cast<std::ptrdiff_t>(starts[0] + packet_size),
                 begin + static_cast<std::ptrdiff_t>(starts[1]));
    constexpr std::array<std::uint8_t, 4> key_slice{0, 0, 1, 0x65};
    constexpr std::uint8_t plain_slice = 0x61;
    *(std::search(stream.begin(), stream.end(), key_slice.begin(), key_slice.end()) + 3) = plain_slice;
    return stream;
}

/// Sound beside pictures of which nothing is left but their time stamps; the sound ends before them.
Bytes of_sound_and_emptied_pictures() {
    constexpr std::ptrdiff_t behind_time_stamps = 40;
    const Bytes whole = read_bytes(make_stream(two_seconds()));
    const Bytes stream = without_packets(whole, sound_pid, [](double place) { return place > 0.6; });
    const auto starts = picture_starts(stream);
    const auto is_behind_its_start = [&](double place) {
        const auto at = static_cast<std::size_t>(std::llround(place * static_cast<double>(stream.size())));
        return !std::ranges::binary_search(starts, at);
    };
    Bytes emptied = without_packets(stream, video_pid, is_behind_its_start);
    for (const std::size_t start : picture_starts(emptied)) {
        const auto packet = emptied.begin() + static_cast<std::ptrdiff_t>(start);
        std::fill(packet + behind_time_stamps, packet + packet_size, std::uint8_t{0});
    }
    return emptied;
}

struct Case {
    const char* name;
    Bytes (*make)();
};

void PrintTo(const Case& which, std::ostream* out) {
    *out << which.name;
}

class BackwardStart : public testing::TestWithParam<Case> {};

TEST_P(BackwardStart, PlaysWhatForwardPlaysAtEverySpeed) {
    const ScratchFolder scratch;
    const EngineLibrary library;
    EngineUnderTest engine{library};
    const auto file = scratch.write("stream.ts", GetParam().make());
    ASSERT_EQ(engine.play_within(10s, file), 0);
    for (const int speed : {PLAYER_SPD_NORMAL, PLAYER_SPD_X2, PLAYER_SPD_X3, PLAYER_SPD_X4, PLAYER_SPD_X5,
                            PLAYER_SPD_FAST, PLAYER_SPD_PAUSE}) {
        EXPECT_EQ(engine.play_within(10s, file, speed, PLAYER_DIR_PREVWARD), 0) << "speed " << speed;
    }
}

INSTANTIATE_TEST_SUITE_P(Streams, BackwardStart,
                         testing::Values(Case{"EmptiedKeyPicture", with_emptied_key_picture},
                                         Case{"UnfinishedRefresh", with_unfinished_refresh},
                                         Case{"UnfinishedKeyFields", with_unfinished_key_fields},
                                         Case{"SoundAndEmptiedPictures", of_sound_and_emptied_pictures}),
                         [](const auto& instance) { return instance.param.name; });

TEST(BackwardStartInPause, ShowsTheLastPicture) {
    const EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(make_stream(two_seconds()), PLAYER_SPD_PAUSE, PLAYER_DIR_PREVWARD), 0);
    ASSERT_TRUE(engine.wait_for_pictures(1));
    EXPECT_EQ(engine.pictures().front().number, 49U);
    EXPECT_TRUE(engine.wait_for_info([](const velmora_info_t& info) {
        return info.player_info.state == PLAYRE_STATUS_PAUSING && info.player_info.second == 1;
    }));
    EXPECT_EQ(engine.info().player_info.direction, PLAYER_DIR_PREVWARD);
    engine.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_X5);
    EXPECT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_SOF; }));
    EXPECT_EQ(engine.last_number(), 0U);
}

} // namespace
