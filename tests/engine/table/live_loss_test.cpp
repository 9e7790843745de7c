// Live streams of which a part is lost on its way: it is counted, and the picture comes back.
#include "live_under_test.h"
#include "packet_edit.h"
#include "support/undisturbed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <span>
#include <string>

namespace {

using namespace std::chrono_literals;
using packet_edit::packet_size;

constexpr unsigned video_pid = 0x100; // as the streams are made
constexpr unsigned sound_pid = 0x101;
constexpr std::size_t packets_per_datagram = 7;
/// A packet of RTP that is lost may be waited for, for 100 ms.
constexpr auto most_grown = 150ms;

/// Which datagrams are lost, by their number from the first on that may be.
struct Loss {
    std::string name;
    PROTOCOL protocol{Protocol_UDPTS};
    std::function<bool(std::uint64_t)> takes{};

    friend void PrintTo(const Loss& loss, std::ostream* out) { *out << loss.name; }
};

bool has_key_picture(packet_edit::Packet packet) {
    constexpr unsigned random_access = 0x40;
    return packet_edit::pid_of(packet) == video_pid && packet_edit::begins_unit(packet) &&
           packet_edit::has_adaptation(packet) && packet[4] > 0 && (packet[5] & random_access) != 0;
}

class LiveLoss : public testing::TestWithParam<Loss> {
protected:
    LiveLoss() {
        StreamRecipe recipe;
        recipe.bitrate = "3M";
        recipe.audio = "mp2";
        recipe.duration = 6;
        stream_ = stream_bytes(recipe);
    }

    bool comes_back_with_the_next_key_picture_and_no_later_than_before() {
        SendRecipe recipe = send_to(free_udp_port());
        recipe.rtp = GetParam().protocol == Protocol_RTPUDP;
        recipe.fate = [this](std::uint64_t datagram) {
            return DatagramFate{.copies = is_lost(datagram) ? 0 : 1};
        };
        EngineUnderTest engine{library_};
        EXPECT_EQ(view(engine, live_setup(recipe.target.port, GetParam().protocol)), 0);
        const StreamSender sender{stream_, recipe};
        sender.wait();
        EXPECT_GT(sender.truth().lost, 0U);
        const std::uint32_t whole = first_whole_picture();
        EXPECT_TRUE(engine.wait_for_info(
            [&](const velmora_info_t& /*info*/) { return engine.last_number().value_or(0) >= whole; }));
        // What cannot be decoded for it counts too.
        EXPECT_GE(engine.info().get_strm_info.inp_dec_error, interruptions());
        const auto first = behind_stream(engine, 20);
        const auto again = behind_stream(engine, whole);
        return first && again && *again - *first < most_grown;
    }

private:
    /// When the picture of this number, or one close behind it, came, less its own time.
    static std::optional<std::chrono::steady_clock::time_point> behind_stream(const EngineUnderTest& engine,
                                                                              std::uint32_t number) {
        for (const ReceivedPicture& picture : engine.pictures()) {
            if (picture.number && *picture.number >= number && *picture.number < number + 5) {
                return picture.when - *picture.number * 40ms;
            }
        }
        return std::nullopt;
    }

    std::uint64_t datagrams() const { return stream_.size() / packet_size / packets_per_datagram; }

    /// Between the first picture and the last seconds.
    bool is_lost(std::uint64_t datagram) const {
        const std::uint64_t first = datagrams() / 4;
        return datagram >= first && datagram < first_safe() && GetParam().takes(datagram - first);
    }
    std::uint64_t first_safe() const { return datagrams() * 6 / 10; }

    packet_edit::Packet packet(std::size_t index) {
        return packet_edit::Packet{std::span{stream_}.subspan(index * packet_size, packet_size)};
    }

    /// Interruptions of the packets' own counters in what is shown and heard.
    int interruptions() {
        std::map<unsigned, unsigned> counters;
        int count = 0;
        for (std::size_t i = 0; i < stream_.size() / packet_size; ++i) {
            const auto now = packet(i);
            constexpr unsigned has_payload = 0x10;
            const unsigned pid = packet_edit::pid_of(now);
            const bool is_decoded = pid == video_pid || pid == sound_pid;
            if (is_lost(i / packets_per_datagram) || !is_decoded || (now[3] & has_payload) == 0) {
                continue;
            }
            const unsigned counter = now[3] & 0x0FU;
            const auto before = counters.find(pid);
            count += before != counters.end() && counter != ((before->second + 1) & 0x0FU) ? 1 : 0;
            counters[pid] = counter;
        }
        return count;
    }

    /// Number of the first key picture behind all that is lost.
    std::uint32_t first_whole_picture() {
        std::uint32_t pictures = 0;
        for (std::size_t i = 0; i < stream_.size() / packet_size; ++i) {
            if (has_key_picture(packet(i)) && i / packets_per_datagram > first_safe()) {
                break;
            }
            const auto now = packet(i);
            pictures += packet_edit::pid_of(now) == video_pid && packet_edit::begins_unit(now) ? 1 : 0;
        }
        return pictures;
    }

    Bytes stream_;
    EngineLibrary library_;
};

TEST_P(LiveLoss, IsCountedAndThePictureComesBackWithTheNextKeyPicture) {
    expect_undisturbed([this] { return comes_back_with_the_next_key_picture_and_no_later_than_before(); });
}

/// A stream without some of its sound's PES packets, and how many these are.
struct SoundWithGaps {
    explicit SoundWithGaps(const Bytes& whole) {
        constexpr std::ptrdiff_t first_that_may_miss = 100;
        std::ptrdiff_t unit = -1;
        for (auto at = whole.begin(); at != whole.end(); at += packet_size) {
            std::array<std::uint8_t, packet_size> copy{};
            std::copy_n(at, packet_size, copy.begin());
            const packet_edit::Packet packet{copy};
            const bool is_sound = packet_edit::pid_of(packet) == sound_pid;
            const bool begins = is_sound && packet_edit::begins_unit(packet);
            unit += begins ? 1 : 0;
            const bool is_missing = is_sound && unit >= first_that_may_miss && unit % 10 == 5;
            missing += is_missing && begins ? 1 : 0;
            if (!is_missing) {
                stream.insert(stream.end(), copy.begin(), copy.end());
            }
        }
    }

    Bytes stream;
    int missing{0};
};

TEST(LiveErrors, AreAsManyAsThereAreGaps) {
    StreamRecipe recipe = small_live_stream();
    recipe.audio = "mp2";
    recipe.mux_options = "-pes_payload_size 0"; // each sound frame alone
    const SoundWithGaps sound{stream_bytes(recipe)};
    ASSERT_GT(sound.missing, 5);
    const SendRecipe send = send_to(free_udp_port());
    const EngineLibrary library;
    EngineUnderTest engine{library};
    ASSERT_EQ(view(engine, live_setup(send.target.port)), 0);
    const StreamSender sender{sound.stream, send};
    EXPECT_TRUE(engine.wait_for_info([&](const velmora_info_t& info) {
        return sender.finished() && info.get_strm_info.inp_dec_error >= sound.missing;
    }));
    EXPECT_EQ(engine.info().get_strm_info.inp_dec_error, sound.missing);
}

constexpr auto one_of = [](std::uint64_t count) {
    return [count](std::uint64_t datagram) { return datagram % count == count / 2; };
};

INSTANTIATE_TEST_SUITE_P(
    All, LiveLoss,
    testing::Values(Loss{.name = "OneOfAThousand", .takes = one_of(1000)},
                    Loss{.name = "OneOfAHundred", .takes = one_of(100)},
                    Loss{.name = "OneOfTwenty", .takes = one_of(20)},
                    Loss{.name = "FiftyAtOnce",
                         .takes = [](std::uint64_t datagram) { return datagram < 50; }},
                    Loss{.name = "OneOfAHundredInRtp", .protocol = Protocol_RTPUDP, .takes = one_of(100)}),
    [](const auto& instance) { return instance.param.name; });

} // namespace
