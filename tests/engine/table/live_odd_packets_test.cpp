// Live streams with packets that say little or nothing, or never end.
#include "live_under_test.h"
#include "packet_edit.h"
#include "stream_surgery.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

using namespace packet_edit;

constexpr unsigned video_pid = 0x100;
constexpr unsigned sound_pid = 0x101;

class LiveOddPackets : public testing::Test {
protected:
    std::uint16_t port_{free_udp_port()};
    StreamRecipe recipe_{small_live_stream()};
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

Bytes packet_on(unsigned pid, std::uint8_t control_and_counter) {
    Bytes packet(packet_size, 0xFF);
    packet[0] = 0x47;
    packet[1] = static_cast<std::uint8_t>(pid >> 8U);
    packet[2] = static_cast<std::uint8_t>(pid);
    packet[3] = control_and_counter;
    return packet;
}

/// Packets without any payload in front of others, with adaptation fields of every odd length.
Bytes with_odd_adaptation_fields(const Bytes& stream) {
    struct Odd {
        unsigned control; ///< adaptation_field_control and further flags
        std::uint8_t length;
    };
    constexpr std::array odd{Odd{0x30, 183}, Odd{0x30, 184}, Odd{0x30, 255}, Odd{0x20, 183},
                             Odd{0x20, 184}, Odd{0x20, 255}, Odd{0x00, 0}};
    std::size_t count = 0;
    unsigned counter = 0;
    return edited(stream, [&](Packet packet) {
        Bytes in_front;
        if (pid_of(packet) == video_pid && ++count % 5 == 0) {
            const Odd& one = odd.at(count / 5 % odd.size());
            in_front = packet_on(video_pid, static_cast<std::uint8_t>(one.control | counter));
            in_front[4] = one.length;
            in_front[5] = 0;
        }
        counter = pid_of(packet) == video_pid ? packet[3] & 0x0FU : counter;
        return in_front;
    });
}

Bytes without_sound_lengths(const Bytes& stream) {
    return edited(stream, [](Packet packet) {
        if (pid_of(packet) == sound_pid && begins_unit(packet)) {
            std::ranges::fill(packet.subspan(payload_start(packet) + 4, 2), std::uint8_t{0});
        }
        return Bytes{};
    });
}

TEST_F(LiveOddPackets, AdaptationFieldsOfAnyLengthHarmNothing) {
    recipe_.duration = 2;
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{with_odd_adaptation_fields(stream_bytes(recipe_)), send_to(port_)};
    sender.wait();
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.get_strm_info.inp_dec_frame >= 25; }));
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
    const auto pictures = engine_.pictures();
    EXPECT_TRUE(std::ranges::is_sorted(
        pictures, {}, [](const ReceivedPicture& picture) { return picture.number.value_or(9999); }));
}

TEST_F(LiveOddPackets, SoundOfUnknownLengthIsDecoded) {
    recipe_.duration = 2;
    recipe_.audio = "mp2";
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{without_sound_lengths(stream_bytes(recipe_)), send_to(port_)};
    sender.wait();
    EXPECT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.get_strm_info.a_sample_rate == 48000 && info.get_strm_info.a_bitrate == 128;
    }));
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
}

TEST_F(LiveOddPackets, PicturesLongerThanTheirLengthCanTellAreWhole) {
    recipe_.width = 640;
    recipe_.height = 360;
    recipe_.duration = 2;
    recipe_.bitrate = "3M";
    recipe_.video_options = "-x264-params ipratio=8:mbtree=0 -bufsize 6M";
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{with_overflowing_lengths(stream_bytes(recipe_)), send_to(port_)};
    sender.wait();
    EXPECT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.get_strm_info.inp_dec_frame >= 2 * 25 - 2; }));
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
}

TEST_F(LiveOddPackets, ANullStreamIsWaitedThrough) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    Bytes nothing;
    for (int i = 0; i < 7000; ++i) {
        const Bytes packet = packet_on(0x1FFF, 0x10);
        nothing.insert(nothing.end(), packet.begin(), packet.end());
    }
    SendRecipe recipe = send_to(port_);
    recipe.bytes_per_second = 2e6;
    const Bytes stream = stream_bytes(recipe_);
    {
        const StreamSender sender{std::move(nothing), recipe};
        EXPECT_TRUE(engine_.wait_for_info(
            [](const velmora_info_t& info) { return info.get_strm_info.imp_bitrate > 1000; }));
        EXPECT_EQ(engine_.info().get_strm_info.v_codec, 0);
        EXPECT_EQ(engine_.picture_count(), 0U);
    }
    const StreamSender sender{stream, send_to(port_)};
    EXPECT_TRUE(engine_.wait_for_pictures(10));
}

TEST_F(LiveOddPackets, AUnitWithoutEndIsCutOffAndForgotten) {
    constexpr std::size_t endless_packets = (std::size_t{20} << 20U) / packet_size;
    recipe_.duration = 1;
    const Bytes front = stream_bytes(recipe_);
    Bytes stream = front;
    for (std::size_t i = 0; i < endless_packets; ++i) {
        const Bytes packet = packet_on(video_pid, static_cast<std::uint8_t>(0x10U | (i & 0x0FU)));
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    recipe_.start = 2;
    recipe_.first = 100;
    const Bytes behind = stream_bytes(recipe_);
    stream.insert(stream.end(), behind.begin(), behind.end());
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    SendRecipe recipe = send_to(port_);
    recipe.bytes_per_second = 1e7;
    recipe.loops = true;
    const StreamSender sender{stream, recipe};
    EXPECT_TRUE(engine_.wait_for_info(
        [this](const velmora_info_t&) { return engine_.last_number().value_or(0) >= 115; }));
}

} // namespace
