// Data streams through the engine's table: forwarded to a file and to an address, live and played.
#include "datagram_collector.h"
#include "live_under_test.h"
#include "scratch_files.h"
#include "support/data_stream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <iterator>
#include <netinet/in.h>

namespace {

using namespace std::chrono_literals;

using Units = std::vector<std::vector<std::uint8_t>>;

std::vector<std::uint8_t> joined(const Units& units) {
    std::vector<std::uint8_t> bytes;
    for (const auto& unit : units) {
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

std::vector<std::uint8_t> short_stream() {
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 2;
    return stream_bytes(recipe);
}

class DataForwarding : public testing::TestWithParam<DataCarriage> {
protected:
    void forward() {
        data_setup_t setup{};
        setup.is_send_by_eth = 1;
        setup.is_save_by_file = 1;
        setup.ip = INADDR_LOOPBACK;
        setup.port = collector_.port();
        std::string name = file_.string();
        setup.file_name = name.data();
        ASSERT_EQ(engine_.table().Velmora_set_data_param(engine_.handle(), setup), 0);
    }

    /// Waits until the file holds as many bytes as were put in.
    std::vector<std::uint8_t> written(std::size_t size) const {
        for (int i = 0;
             i < 1000 && (!std::filesystem::exists(file_) || std::filesystem::file_size(file_) < size); ++i) {
            std::this_thread::sleep_for(10ms);
        }
        std::ifstream input{file_, std::ios::binary};
        return {std::istreambuf_iterator<char>{input}, {}};
    }

    ScratchFolder scratch_;
    std::filesystem::path file_{scratch_.path() / "data.klv"};
    DatagramCollector collector_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_P(DataForwarding, EveryUnitOfALiveStreamArrivesOnceUnchangedInOrder) {
    const DataStream made = with_data(short_stream(), GetParam());
    ASSERT_GE(made.units.size(), 45U);
    forward();
    SendRecipe recipe;
    recipe.target.port = free_udp_port();
    ASSERT_EQ(view(engine_, live_setup(recipe.target.port)), 0);
    const StreamSender sender{made.stream, recipe};
    EXPECT_EQ(collector_.take(made.units.size()), made.units);
    EXPECT_EQ(written(joined(made.units).size()), joined(made.units));
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
        return info.get_strm_info.d_packets == static_cast<std::int32_t>(made.units.size());
    })) << engine_.info().get_strm_info.d_packets;
    EXPECT_NE(engine_.info().get_strm_info.d_codec, 0);
}

TEST_P(DataForwarding, EveryUnitOfAPlayedFileArrivesOnceUnchangedInOrder) {
    const DataStream made = with_data(short_stream(), GetParam());
    forward();
    ASSERT_EQ(engine_.play(scratch_.write("data.ts", made.stream)), 0);
    const auto rate = static_cast<double>(joined(made.units).size() * 8) / 1000 / 2; // two seconds
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
        return std::abs(info.get_strm_info.d_bitrate - rate) < rate / 3;
    })) << engine_.info().get_strm_info.d_bitrate;
    const auto received = collector_.take(made.units.size());
    EXPECT_EQ(received, made.units);
    EXPECT_EQ(written(joined(made.units).size()), joined(made.units));
}

TEST_P(DataForwarding, NeitherAClosedPortNorAFileThatCannotBeWrittenDisturbsTheView) {
    const DataStream made = with_data(short_stream(), GetParam());
    data_setup_t setup{};
    setup.is_send_by_eth = 1;
    setup.is_save_by_file = 1;
    setup.ip = INADDR_LOOPBACK;
    setup.port = free_udp_port();
    std::string name = (scratch_.path() / "missing" / "data.klv").string();
    setup.file_name = name.data();
    ASSERT_EQ(engine_.table().Velmora_set_data_param(engine_.handle(), setup), 0);
    SendRecipe recipe;
    recipe.target.port = free_udp_port();
    ASSERT_EQ(view(engine_, live_setup(recipe.target.port)), 0);
    const StreamSender sender{made.stream, recipe};
    EXPECT_TRUE(engine_.wait_for_pictures(30));
}

INSTANTIATE_TEST_SUITE_P(Carriages, DataForwarding,
                         testing::Values(DataCarriage::synchronous, DataCarriage::asynchronous,
                                         DataCarriage::plain, DataCarriage::as_metadata,
                                         DataCarriage::single_cells, DataCarriage::without_cells),
                         testing::PrintToStringParamName());

} // namespace
