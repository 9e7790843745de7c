// Live streams that become others while they are watched and recorded.
#include "live_under_test.h"
#include "packet_edit.h"
#include "scratch_files.h"
#include "support/mpeg_crc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <ostream>
#include <span>
#include <string>

namespace {

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;
constexpr std::uint32_t second_begins = 1000; ///< number of the second stream's first picture
constexpr std::uint32_t picture_rate = 25;
constexpr std::size_t tables_size = 2 * packet_edit::packet_size; ///< PAT and PMT in front of a recording

/// What one stream becomes.
struct Change {
    std::string name;
    std::function<void(StreamRecipe& first, StreamRecipe& second)> make{};
    std::function<Bytes(const Bytes& second)> edit{};
    int v_codec{27};
    int a_codec{0x15000};
    int width{320};
    bool loses_nothing{false};

    friend void PrintTo(const Change& change, std::ostream* out) { *out << change.name; }
};

Bytes null_packets(std::size_t count) {
    Bytes packets;
    for (std::size_t i = 0; i < count; ++i) {
        packets.insert(packets.end(), {0x47, 0x1F, 0xFF, 0x10});
        packets.resize((i + 1) * packet_edit::packet_size, 0xFF);
    }
    return packets;
}

Bytes with_map_version(const Bytes& stream, unsigned version) {
    return packet_edit::edited(stream, [&](packet_edit::Packet packet) {
        if (const std::size_t map = packet_edit::map_at(packet); map != 0) {
            packet[map + 5] = static_cast<std::uint8_t>((packet[map + 5] & 0xC1U) | version << 1U);
            put_mpeg_crc(packet_edit::section_at(packet, map));
        }
        return Bytes{};
    });
}

class LiveChange : public testing::TestWithParam<Change> {
protected:
    void SetUp() override {
        StreamRecipe first = small_live_stream();
        first.audio = "mp2";
        first.duration = 1;
        first.start = 10;
        StreamRecipe second = first;
        second.duration = 2;
        second.start = 11; // goes on in time
        second.first = second_begins;
        if (GetParam().make) {
            GetParam().make(first, second);
        }
        stream_ = stream_bytes(first);
        Bytes other = stream_bytes(second);
        if (GetParam().edit) {
            other = GetParam().edit(other);
        }
        stream_.insert(stream_.end(), other.begin(), other.end());

        engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
    }

    /// The numbers of the pictures that were shown.
    std::vector<std::uint32_t> shown() const {
        std::vector<std::uint32_t> numbers;
        for (const ReceivedPicture& picture : engine_.pictures()) {
            numbers.push_back(picture.number.value_or(9999));
        }
        return numbers;
    }

    Bytes stream_;
    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

std::size_t first_video_packet(const Bytes& stream) {
    std::size_t at = 0;
    while (stream[at + 1] != 0x41 || stream[at + 2] != 0) {
        at += packet_edit::packet_size;
    }
    return at;
}

TEST_P(LiveChange, IsFollowedByThePictureAndRecordedInOneFile) {
    SendRecipe recipe;
    recipe.target.port = free_udp_port();
    ASSERT_EQ(view(engine_, live_setup(recipe.target.port), view_mask | record_mask), 0);
    Bytes sent = stream_;
    const Bytes behind = null_packets(21);
    sent.insert(sent.end(), behind.begin(), behind.end());
    const StreamSender sender{sent, recipe};
    sender.wait();
    ASSERT_TRUE(engine_.wait_for_info([this](const velmora_info_t& info) {
        return info.get_strm_info.v_codec == GetParam().v_codec &&
               info.get_strm_info.a_codec == GetParam().a_codec && info.inp_width == GetParam().width &&
               info.get_strm_info.a_sample_rate == 48000;
    }));
    const auto numbers = shown();
    const auto second = std::ranges::find_if(numbers, [](auto number) { return number >= second_begins; });
    ASSERT_NE(second, numbers.end());
    EXPECT_TRUE(std::ranges::is_sorted(numbers)) << "and no picture is garbage";
    EXPECT_GE(second - numbers.begin(), picture_rate / 3) << "the first stream was shown";
    EXPECT_LT(*second, second_begins + picture_rate) << "within a second of the stream";
    EXPECT_GE(numbers.end() - second, picture_rate / 2);
    if (GetParam().loses_nothing) {
        EXPECT_LT(*second, second_begins + picture_rate / 2) << "before another key picture";
    }

    const auto expected = std::span{stream_}.subspan(first_video_packet(stream_));
    const auto size = static_cast<std::int32_t>((tables_size + expected.size()) / 1024);
    ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
        return info.record_info.kb_size > size;
    })) << "all of it, and something of what was sent behind it";
    const std::filesystem::path file = engine_.info().record_info.file_name;
    engine_.table().Velmora_stop(engine_.handle(), view_mask | record_mask);
    const Bytes recorded = read_bytes(file);
    ASSERT_GE(recorded.size(), tables_size + expected.size());
    EXPECT_TRUE(std::ranges::equal(std::span{recorded}.subspan(tables_size, expected.size()), expected));
    EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator{scratch_.path()}), 1);

    engine_.forget_pictures();
    ASSERT_EQ(engine_.play(file), 0);
    ASSERT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
        return info.get_strm_info.inp_dec_frame >= static_cast<int>(picture_rate) * 3 / 2;
    }));
    const auto played = shown();
    EXPECT_LT(played.front(), 5U);
    EXPECT_TRUE(std::ranges::is_sorted(played));
    EXPECT_TRUE(std::ranges::any_of(played, [](auto number) { return number >= second_begins; }));
    EXPECT_EQ(engine_.info().player_info.total_second, 3);
}

INSTANTIATE_TEST_SUITE_P(
    All, LiveChange,
    testing::Values(Change{.name = "MapVersion",
                           .edit = [](const Bytes& second) { return with_map_version(second, 5); },
                           .loses_nothing = true},
                    Change{.name = "ProgrammeAndPids",
                           .make =
                               [](auto&, auto& second) {
                                   second.mux_options = "-mpegts_service_id 7 -mpegts_pmt_start_pid 0x1234 "
                                                        "-mpegts_start_pid 0x300";
                                   second.start = 0;
                               }},
                    Change{.name = "Codecs",
                           .make =
                               [](auto&, auto& second) {
                                   second.codec = "hevc";
                                   second.audio = "aac";
                               },
                           .v_codec = 173,
                           .a_codec = 0x15002},
                    Change{.name = "PictureSize",
                           .make =
                               [](auto&, auto& second) {
                                   second.width = 480;
                                   second.height = 272;
                                   second.start = 500;
                               },
                           .width = 480}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
