// The data of streams that nobody here made, when they lie beside the checkout, by what ffprobe counts.
#include "live_under_test.h"
#include "packet_edit.h"
#include "scratch_files.h"
#include "support/stream_probe.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

/// The front of a stream, so much of it that there are units of data in it, up to the beginning of one.
Bytes front_of(const std::filesystem::path& file) {
    constexpr std::size_t enough = std::size_t{400} << 10U;
    Bytes stream = read_bytes(file);
    std::size_t end = 0;
    for (std::size_t at = 0; at + packet_edit::packet_size <= stream.size() && end < enough;
         at += packet_edit::packet_size) {
        const auto packet = std::span{stream}.subspan(at).first<packet_edit::packet_size>();
        const std::size_t unit = packet_edit::payload_start(packet);
        const bool is_data = packet_edit::begins_unit(packet) && unit + 4 <= packet_edit::packet_size &&
                             packet[unit + 2] == 1 && (packet[unit + 3] == 0xFC || packet[unit + 3] == 0xBD);
        end = is_data ? at : end;
    }
    stream.resize(end);
    return stream;
}

std::vector<std::filesystem::path> real_streams_with_data() {
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(REAL_STREAMS)) {
        for (const auto& entry : std::filesystem::directory_iterator{REAL_STREAMS}) {
            if (entry.path().extension() == ".ts" && !probe_packets(entry.path(), "d:0").empty()) {
                files.push_back(entry.path());
            }
        }
    }
    return files;
}

class RealData : public testing::Test {
protected:
    void SetUp() override {
        const auto files = real_streams_with_data();
        if (files.empty()) {
            GTEST_SKIP() << "no real stream with data in " << REAL_STREAMS;
        }
        for (const auto& file : files) {
            std::cout << file.filename() << '\n';
            fronts_.push_back(front_of(file));
        }
        data_setup_t setup{};
        setup.is_save_by_file = 1;
        std::string name = written_.string();
        setup.file_name = name.data();
        ASSERT_EQ(engine_.table().Velmora_set_data_param(engine_.handle(), setup), 0);
    }

    void expect_all_data_of(const Bytes& stream) {
        const auto packets = probe_packets(scratch_.write("probed.ts", stream), "d:0");
        ASSERT_GT(packets.size(), 10U);
        std::uintmax_t bytes = 0;
        for (const ProbedPacket& packet : packets) {
            bytes += static_cast<std::uintmax_t>(packet.size);
        }
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
            return info.get_strm_info.d_packets == static_cast<std::int32_t>(packets.size()) &&
                   std::filesystem::exists(written_) && std::filesystem::file_size(written_) == bytes;
        })) << engine_.info().get_strm_info.d_packets
            << " of " << packets.size() << " units";
        std::filesystem::remove(written_);
    }

    ScratchFolder scratch_;
    std::filesystem::path written_{scratch_.path() / "data"};
    std::vector<Bytes> fronts_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(RealData, OfAPlayedFileIsForwardedWhole) {
    for (const Bytes& front : fronts_) {
        ASSERT_EQ(engine_.play(scratch_.write("played.ts", front)), 0);
        expect_all_data_of(front);
        engine_.stop();
    }
}

TEST_F(RealData, OfALiveStreamIsForwardedWhole) {
    for (const Bytes& front : fronts_) {
        const SendRecipe recipe = send_to(free_udp_port());
        ASSERT_EQ(view(engine_, live_setup(recipe.target.port)), 0);
        const StreamSender sender{front, recipe};
        expect_all_data_of(front);
        engine_.table().Velmora_stop(engine_.handle(), 1 << STREAMING_BIT);
    }
}

} // namespace
