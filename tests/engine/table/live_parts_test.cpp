// Live streams of which only a part can be shown: the others work, and the statistics are honest.
#include "live_under_test.h"
#include "scratch_files.h"
#include "stream_surgery.h"
#include "support/data_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned video_pid = 0x100;
constexpr unsigned sound_pid = 0x101;
constexpr unsigned unknown_type = 0x9B;
constexpr int mpeg_sound = 0x15000;
constexpr int h264 = 27;

bool everywhere(double /*place*/) {
    return true;
}

/// Sound goes to a file instead of a loudspeaker.
class LiveParts : public testing::Test {
protected:
    LiveParts() {
        ::setenv("SDL_AUDIODRIVER", "disk", 1);
        ::setenv("SDL_DISKAUDIOFILE", heard_.c_str(), 1);
        recipe_.audio = "mp2";
        recipe_.duration = 3;
        recipe_.gop = 12;
        recipe_.mux_options =
            "-pes_payload_size 0"; // each sound frame alone, as encoders for live streams do
    }
    ~LiveParts() override {
        ::unsetenv("SDL_AUDIODRIVER");
        ::unsetenv("SDL_DISKAUDIOFILE");
    }

    void watch(const Bytes& stream) {
        SendRecipe send;
        send.target.port = free_udp_port();
        ASSERT_EQ(view(engine_, live_setup(send.target.port)), 0);
        sender_.emplace(stream, send);
    }

    /// Half a second of sound was heard.
    bool is_heard() const {
        return engine_.wait_for_info([this](const velmora_info_t&) {
            constexpr float loud = 0.05F;
            constexpr std::ptrdiff_t enough = 48000; // two channels
            const Bytes bytes = read_bytes(heard_);
            std::vector<float> samples(bytes.size() / sizeof(float));
            if (!samples.empty()) {
                std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
            }
            return std::ranges::count_if(samples, [](float value) { return std::abs(value) > loud; }) >=
                   enough / 2;
        });
    }

    void expect_pictures_without_sound() {
        EXPECT_TRUE(engine_.wait_for_pictures(20));
        EXPECT_EQ(engine_.info().get_strm_info.a_sample_rate, 0);
        EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
    }
    void expect_pictures_in_order() const {
        const auto pictures = engine_.pictures();
        EXPECT_TRUE(std::ranges::all_of(
            pictures, [](const ReceivedPicture& picture) { return picture.number.has_value(); }));
    }

    StreamRecipe recipe_{small_live_stream()};
    ScratchFolder scratch_;
    std::filesystem::path heard_{scratch_.path() / "heard.raw"};
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
    std::optional<StreamSender> sender_;
};

TEST_F(LiveParts, SoundIsHeardBesideVideoOfAnUnknownKind) {
    watch(with_stream_type(stream_bytes(recipe_), video_pid, unknown_type));
    EXPECT_TRUE(is_heard());
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.get_strm_info.v_codec, 0);
    EXPECT_EQ(info.get_strm_info.a_codec, mpeg_sound);
    EXPECT_EQ(info.get_strm_info.a_sample_rate, 48000);
    EXPECT_EQ(engine_.picture_count(), 0U);
}

TEST_F(LiveParts, PicturesAreShownBesideSoundOfAnUnknownKind) {
    watch(with_stream_type(stream_bytes(recipe_), sound_pid, unknown_type));
    EXPECT_TRUE(engine_.wait_for_pictures(20));
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.get_strm_info.v_codec, h264);
    EXPECT_EQ(info.get_strm_info.a_codec, 0);
    EXPECT_EQ(info.get_strm_info.a_sample_rate, 0);
    EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
}

TEST_F(LiveParts, SoundAloneIsHeard) {
    recipe_.codec = "none";
    watch(stream_bytes(recipe_));
    EXPECT_TRUE(is_heard());
    EXPECT_EQ(engine_.info().get_strm_info.v_codec, 0);
    EXPECT_EQ(engine_.info().get_strm_info.a_codec, mpeg_sound);
}

TEST_F(LiveParts, PicturesAreShownWithoutTheSoundThatIsAnnounced) {
    watch(without_packets(stream_bytes(recipe_), sound_pid, everywhere));
    expect_pictures_without_sound();
}

TEST_F(LiveParts, VideoThatComesLaterThanItsSoundIsShownWhenItComes) {
    watch(without_packets(stream_bytes(recipe_), video_pid, [](double place) { return place < 0.45; }));
    EXPECT_TRUE(is_heard());
    EXPECT_TRUE(engine_.wait_for_pictures(5));
    EXPECT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.get_strm_info.v_codec == h264; }));
    expect_pictures_in_order();
}

TEST_F(LiveParts, TheOneProgrammeThatIsThereIsShownFromItsFirstKeyPictureOn) {
    watch(with_absent_programmes(stream_bytes(recipe_)));
    EXPECT_TRUE(engine_.wait_for_pictures(20));
    EXPECT_EQ(engine_.pictures().front().number, 0U);
    EXPECT_TRUE(is_heard());
}

TEST_F(LiveParts, SoundAloneIsHeardOfTheOneProgrammeThatIsThere) {
    recipe_.codec = "none";
    watch(with_absent_programmes(stream_bytes(recipe_)));
    EXPECT_TRUE(is_heard());
}

TEST_F(LiveParts, DataIsTakenWhereNothingElseIs) {
    recipe_.audio = "none";
    const auto made = with_data(stream_bytes(recipe_), DataCarriage::asynchronous);
    watch(without_packets(with_stream_type(made.stream, video_pid, unknown_type), video_pid, everywhere));
    EXPECT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.get_strm_info.d_packets >= 10 && info.get_strm_info.d_codec != 0;
    }));
    EXPECT_EQ(engine_.info().get_strm_info.v_codec, 0);
    EXPECT_EQ(engine_.info().get_strm_info.a_codec, 0);
}

TEST_F(LiveParts, SoundIsHeardBesideScrambledVideo) {
    watch(scrambled(stream_bytes(recipe_), video_pid, everywhere));
    EXPECT_TRUE(is_heard());
    EXPECT_EQ(engine_.picture_count(), 0U);
    EXPECT_EQ(engine_.info().get_strm_info.v_codec, 0) << "none that can be seen";
    EXPECT_TRUE(engine_.wait_for_info([this](const velmora_info_t&) {
        const velmora_message_t message = engine_.message();
        return message.kind == MESSAGE_ERROR + MESSAGE_LASTING &&
               std::string{message.text}.find("is scrambled") != std::string::npos;
    }));
}

TEST_F(LiveParts, PicturesAreShownBesideScrambledSound) {
    watch(scrambled(stream_bytes(recipe_), sound_pid, everywhere));
    expect_pictures_without_sound();
}

TEST_F(LiveParts, WhatIsScrambledForAWhileComesBackWithoutGarbage) {
    watch(
        scrambled(stream_bytes(recipe_), video_pid, [](double place) { return place > 0.3 && place < 0.6; }));
    EXPECT_TRUE(engine_.wait_for_pictures(35));
    expect_pictures_in_order();
}

} // namespace
