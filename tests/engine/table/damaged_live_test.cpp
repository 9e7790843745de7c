// Live streams that are damaged in any way: nothing is harmed, and what is whole again is shown again.
#include "live_under_test.h"
#include "scratch_files.h"
#include "stream_damage.h"
#include "support/data_stream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <random>

namespace {

using namespace std::chrono_literals;

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;
constexpr std::size_t packet_size = 188;
constexpr std::uint32_t first_of_whole = 1000; ///< number of the first picture of the stream that is whole

StreamRecipe short_stream(const std::string& codec, const std::string& audio) {
    StreamRecipe recipe = small_live_stream(codec);
    recipe.audio = audio;
    recipe.duration = 2;
    recipe.bitrate = "300k";
    return recipe;
}

/// A wire on which datagrams are lost, repeated and overtaken.
LossyWire::Fate any_fate(std::mt19937::result_type seed) {
    return [random = std::make_shared<std::mt19937>(seed)](std::uint64_t /*datagram*/) {
        const auto kind = (*random)() % 30;
        return DatagramFate{.copies = kind == 0   ? 0
                                      : kind == 1 ? 2
                                                  : 1,
                            .late_by = kind == 2 ? static_cast<int>((*random)() % 25) : 0};
    };
}

class DamagedLiveStreams : public testing::TestWithParam<unsigned> {
protected:
    DamagedLiveStreams() {
        engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
        data_setup_t data{};
        data.is_save_by_file = 1;
        data.file_name = data_file_.data();
        engine_.table().Velmora_set_data_param(engine_.handle(), data);
    }

    void start() {
        const bool is_rtp = GetParam() % 2 == 0;
        const PROTOCOL told = is_rtp ? Protocol_RTPUDP : Protocol_UDPTS;
        const PROTOCOL protocol = GetParam() % 3 == 0 ? Protocol_PRIVATE : told;
        ASSERT_EQ(view(engine_, live_setup(port_, protocol), view_mask | record_mask), 0);
    }

    void stop() {
        const auto begin = std::chrono::steady_clock::now();
        engine_.table().Velmora_stop(engine_.handle(), view_mask | record_mask);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    }

    SendRecipe sending() const {
        SendRecipe recipe = send_to(port_);
        recipe.rtp = GetParam() % 2 == 0;
        return recipe;
    }

    std::uint16_t port_{free_udp_port()};
    ScratchFolder scratch_;
    std::string data_file_{(scratch_.path() / "data").string()};
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_P(DamagedLiveStreams, AreReceivedAndRecordedWithoutHarm) {
    constexpr int views = 8;
    constexpr int streams_in_each = 4;
    constexpr double bytes_per_second = 800'000; // many times as fast as they play
    const std::vector<StreamRecipe> recipes{short_stream("h264", "mp2"),  short_stream("hevc", "aac"),
                                            short_stream("mpeg2", "ac3"), short_stream("h264", "opus"),
                                            short_stream("none", "mp3"),  short_stream("mpeg2", "eac3")};
    std::mt19937 random{GetParam()}; // NOLINT(cert-msc51-cpp): the same damages in each run
    for (int i = 0; i < views; ++i) {
        Bytes bytes;
        for (int stream = 0; stream < streams_in_each; ++stream) {
            Bytes next = stream_bytes(recipes[random() % recipes.size()]);
            if (random() % 2 == 0) {
                next = with_data(next, static_cast<DataCarriage>(random() % 3)).stream;
            }
            damage(next, random, packet_size);
            bytes.insert(bytes.end(), next.begin(), next.end());
        }
        SendRecipe recipe = sending();
        recipe.bytes_per_second = bytes_per_second;
        recipe.first_sequence = static_cast<std::uint16_t>(random());
        recipe.fate = any_fate(random());
        start();
        const StreamSender sender{bytes, recipe};
        if (random() % 2 == 0) {
            engine_.table().Velmora_switch_dispatch(engine_.handle(), static_cast<int>(random() % 2));
        }
        sender.wait();
        if (i + 1 < views) {
            stop();
            engine_.forget_pictures();
        }
    }
    engine_.table().Velmora_switch_dispatch(engine_.handle(), 0);

    StreamRecipe whole = small_live_stream();
    whole.first = first_of_whole;
    SendRecipe recipe = sending();
    recipe.loops = true;
    const StreamSender sender{stream_bytes(whole), recipe};
    EXPECT_TRUE(engine_.wait_for_info([this](const velmora_info_t& /*info*/) {
        return engine_.last_number().value_or(0) >= first_of_whole;
    }));
    stop();
    for (const auto& entry : std::filesystem::directory_iterator{scratch_.path()}) {
        if (entry.path().extension() == ".ts" && engine_.play(entry.path()) == 0) {
            engine_.stop();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DamagedLiveStreams, testing::Range(1U, 4U));
INSTANTIATE_TEST_SUITE_P(MoreSeeds, DamagedLiveStreams, testing::Range(4U, 13U));

} // namespace
