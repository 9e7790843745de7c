// Legal streams that are seldom seen: they play, show every second exactly and run backward like any other.
#include "engine_under_test.h"
#include "field_stream.h"
#include "scratch_files.h"
#include "stream_surgery.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace std::chrono_literals;

constexpr int seconds = 6;
constexpr unsigned fps = 25;

Bytes usual_stream() {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = seconds;
    recipe.gop = 50;
    recipe.bframes = 3;
    recipe.audio = "mp2";
    return read_bytes(make_stream(recipe));
}

/// Key pictures of more bytes than the length of a PES packet can tell.
Bytes stream_of_large_pictures() {
    StreamRecipe recipe;
    recipe.duration = seconds;
    recipe.gop = 50;
    recipe.bframes = 3;
    recipe.audio = "mp2";
    recipe.bitrate = "3M";
    recipe.video_options = "-x264-params ipratio=8:mbtree=0 -bufsize 6M";
    return read_bytes(make_stream(recipe));
}

struct StreamCase {
    const char* name;
    Bytes (*make)();
};

void PrintTo(const StreamCase& stream_case, std::ostream* out) {
    *out << stream_case.name;
}

class UnusualStream : public testing::TestWithParam<StreamCase> {};

TEST_P(UnusualStream, PlaysSeeksExactlyAndRunsBackward) {
    const ScratchFolder scratch;
    EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(engine.play(scratch.write("unusual.ts", GetParam().make()), PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.total_second == seconds; }));
    ASSERT_TRUE(engine.wait_for_pictures(1));
    EXPECT_EQ(engine.last_number(), 0U);
    for (const unsigned second : {4U, 1U, 5U, 3U, 0U, 2U}) {
        engine.forget_pictures();
        engine.seek(static_cast<int>(second));
        ASSERT_TRUE(engine.wait_for_pictures(1)) << "second " << second;
        EXPECT_EQ(engine.pictures().front().number, second * fps);
    }
    engine.forget_pictures();
    engine.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_NORMAL);
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_SOF; }));
    const auto pictures = engine.pictures();
    EXPECT_GE(pictures.size(), 2 * fps * 9 / 10) << "a busy machine may make some late";
    EXPECT_TRUE(std::ranges::is_sorted(pictures, std::ranges::greater{}, &ReceivedPicture::number));
    EXPECT_EQ(engine.last_number(), 0U);

    engine.set_tempo(PLAYER_DIR_FORWARD, PLAYER_SPD_X5);
    ASSERT_TRUE(engine.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_EOF; }));
    EXPECT_GE(engine.last_number(), seconds * fps - 5);
    EXPECT_EQ(engine.info().get_strm_info.inp_dec_error, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Files, UnusualStream,
    testing::Values(
        StreamCase{"ClockApart", [] { return with_clock_apart(usual_stream()); }},
        StreamCase{"RareClock", [] { return with_rare_clock(usual_stream(), 3s); }},
        StreamCase{"NoDelimiters", [] { return without_delimiters(usual_stream()); }},
        StreamCase{"AbsentProgrammes", [] { return with_absent_programmes(usual_stream()); }},
        StreamCase{"OverflowingLengths", [] { return with_overflowing_lengths(stream_of_large_pictures()); }},
        StreamCase{"Fields", [] { return make_field_stream(seconds * fps, FieldUnits::both_in_one); }},
        StreamCase{"FieldsApart", [] { return make_field_stream(seconds * fps, FieldUnits::one_each); }}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
