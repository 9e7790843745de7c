// Streams of which the beginning, from which everything else is decoded, is lost.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "stream_surgery.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace {

constexpr std::size_t packet_size = 188;
constexpr unsigned video_pid = 0x100;
constexpr unsigned sound_pid = 0x101;
constexpr std::array<std::uint8_t, 4> key_slice{0, 0, 1, 0x65};

StreamRecipe two_seconds(int gop) {
    StreamRecipe recipe;
    recipe.audio = "mp2";
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 2;
    recipe.gop = gop;
    return recipe;
}

/// The first picture keeps its head only, and of the second key picture no more than that is there.
Bytes without_whole_key_pictures() {
    constexpr int group = 25;
    Bytes stream = read_bytes(make_stream(two_seconds(group)));
    const auto starts = picture_starts(stream);
    stream.resize(starts.at(group) + packet_size);
    const auto last_slice = std::find_end(stream.begin(), stream.end(), key_slice.begin(), key_slice.end());
    std::fill(last_slice + key_slice.size() + 1, stream.end(), std::uint8_t{0});
    const auto begin = stream.begin();
    stream.erase(begin + static_cast<std::ptrdiff_t>(starts[0] + 3 * packet_size),
                 begin + static_cast<std::ptrdiff_t>(starts[1]));
    return stream;
}

bool is_ended(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

bool is_at_start(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_SOF;
}

bool is_playing(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_PLAYING;
}

class LostAccessPoint : public testing::Test {
protected:
    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(LostAccessPoint, SeeksShowWhatPlayingShows) {
    ASSERT_EQ(engine_.play(scratch_.write("pictures.ts", without_whole_key_pictures())), 0);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    const std::size_t played = engine_.pictures().size();
    EXPECT_GT(played, 10U);
    engine_.forget_pictures();
    engine_.seek(0);
    EXPECT_TRUE(engine_.wait_for_pictures(played));
    EXPECT_TRUE(engine_.wait_for_info(is_ended));
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_X3);
    EXPECT_TRUE(engine_.wait_for_info(is_at_start));
    engine_.seek(9);
    EXPECT_TRUE(engine_.wait_for_info(is_at_start)) << "backward again from the end";
}

TEST_F(LostAccessPoint, BackwardPlayGoesOnInFrontOfAGroupOfWhichNothingIsLeft) {
    constexpr int group = 100;
    StreamRecipe recipe = two_seconds(group);
    recipe.duration = 12;
    Bytes stream = read_bytes(make_stream(recipe));
    const auto starts = picture_starts(stream);
    const auto key = stream.begin() + static_cast<std::ptrdiff_t>(starts.at(group));
    const auto behind_key = stream.begin() + static_cast<std::ptrdiff_t>(starts.at(group + 1));
    const auto slice = std::search(key, behind_key, key_slice.begin(), key_slice.end());
    std::fill(slice + key_slice.size() + 1, key + 8 * packet_size, std::uint8_t{0});
    stream.erase(key + 8 * packet_size,
                 stream.begin() + static_cast<std::ptrdiff_t>(starts.at(std::size_t{2} * group)));
    ASSERT_EQ(engine_.play(scratch_.write("hole.ts", stream), PLAYER_SPD_PAUSE), 0);
    engine_.seek(9);
    ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return engine_.last_number() == 225U; }));
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_X2);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
        return engine_.last_number().value_or(group) < group;
    })) << "nothing wakes it but its own need";
}

TEST_F(LostAccessPoint, WhereOnlySoundIsLeftASeekBehindItsEndEndsThere) {
    const Bytes whole = read_bytes(make_stream(two_seconds(50)));
    const Bytes headless = without_packets(whole, video_pid, [](double place) { return place < 0.1; });
    const Bytes sound = without_packets(headless, sound_pid, [](double place) { return place > 0.4; });
    ASSERT_EQ(engine_.play(scratch_.write("sound.ts", sound)), 0);
    engine_.seek(9);
    EXPECT_TRUE(engine_.wait_for_info(is_ended));
    engine_.seek(0);
    EXPECT_TRUE(engine_.wait_for_info(is_playing));
    EXPECT_TRUE(engine_.wait_for_info(is_ended));
    EXPECT_EQ(engine_.picture_count(), 0U);
}

} // namespace
