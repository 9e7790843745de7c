// Recording a live stream through the engine's table.
#include "live_under_test.h"
#include "scratch_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>

namespace {

using namespace std::chrono_literals;

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;

record_setup_t indexed_record_setup(const std::filesystem::path& folder) {
    record_setup_t setup = record_setup(folder);
    setup.is_trick_mode = 1;
    return setup;
}

class LiveRecording : public testing::Test {
protected:
    void SetUp() override {
        engine_.table().Velmora_set_record_param(engine_.handle(), indexed_record_setup(scratch_.path()));
    }

    SendRecipe to_port(bool loops) const {
        SendRecipe recipe;
        recipe.target.port = port_;
        recipe.loops = loops;
        return recipe;
    }

    /// The file that is being recorded.
    std::filesystem::path recorded() const {
        const velmora_info_t info = engine_.info();
        return info.record_info.file_name == nullptr ? "" : info.record_info.file_name;
    }

    std::uint16_t port_{free_udp_port()};
    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(LiveRecording, IsBitForBitWhatWasSent) {
    auto stream = stream_bytes(small_live_stream());
    // What is recorded: the tables, then everything from the first picture on.
    std::size_t first_picture = 0;
    while (stream[first_picture + 1] != 0x41 || stream[first_picture + 2] != 0) {
        first_picture += 188;
    }
    constexpr std::size_t tables = 2 * 188;
    // So long that its size in KiB tells whether the last packet has arrived.
    while ((tables + stream.size() - first_picture) % 1024 >= 188) {
        stream.insert(stream.end(), {0x47, 0x1F, 0xFF, 0x10}); // a null packet
        stream.resize(stream.size() + 184, 0xFF);
    }
    const std::vector<std::uint8_t> expected(stream.begin() + static_cast<std::ptrdiff_t>(first_picture),
                                             stream.end());
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    EXPECT_EQ(engine_.info().action_bit, view_mask | record_mask);
    const StreamSender sender{stream, to_port(false)};
    sender.wait();
    const auto size = static_cast<std::int32_t>((tables + expected.size()) / 1024);
    ASSERT_TRUE(
        engine_.wait_for_info([&](const velmora_info_t& info) { return info.record_info.kb_size == size; }));
    EXPECT_GE(engine_.info().record_info.sec_size, 3);
    const auto file = recorded();
    engine_.table().Velmora_stop(engine_.handle(), record_mask);
    EXPECT_EQ(engine_.info().action_bit, view_mask);

    // Stopping does not wait for the disk.
    ASSERT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t&) { return std::filesystem::file_size(file) >= tables + expected.size(); }));
    std::ifstream input{file, std::ios::binary};
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>{input}, {}};
    ASSERT_EQ(bytes.size(), tables + expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes.begin() + tables));
}

TEST_F(LiveRecording, BeginsWithTheLastAccessPointAndPlaysWhileItGrows) {
    ASSERT_EQ(view(engine_, live_setup(port_)), 0);
    const StreamSender sender{stream_bytes(small_live_stream()), to_port(true)};
    ASSERT_TRUE(engine_.wait_for_pictures(40));
    ASSERT_EQ(engine_.table().Velmora_start(engine_.handle(), record_mask), 0);
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.sec_size >= 2; }));
    engine_.forget_pictures();
    ASSERT_EQ(engine_.play(recorded()), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(20));
    std::ifstream input{recorded(), std::ios::binary};
    std::vector<std::uint8_t> front(3 * 188);
    input.read(reinterpret_cast<char*>(front.data()), static_cast<std::streamsize>(front.size()));
    EXPECT_EQ((front[1] & 0x1FU) | front[2], 0U) << "the PAT, then the PMT";
    EXPECT_NE(front[2 * 188 + 5] & 0x40U, 0U) << "an access point";
    EXPECT_EQ(engine_.info().action_bit, view_mask | record_mask | 1);
    EXPECT_EQ(engine_.info().player_info.is_recording, 1);
    const int length = engine_.info().player_info.total_second;
    EXPECT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t& info) { return info.player_info.total_second > length; }));
}

TEST_F(LiveRecording, GoesOnInOneFileAcrossALostSource) {
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    {
        const StreamSender sender{stream_bytes(small_live_stream()), to_port(false)};
        ASSERT_TRUE(
            engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 50; }));
    }
    const auto file = recorded();
    const int size = engine_.info().record_info.kb_size;
    const StreamSender again{stream_bytes(small_live_stream()), to_port(true)};
    EXPECT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t& info) { return info.record_info.kb_size > size + 100; }));
    EXPECT_EQ(recorded(), file);
}

TEST_F(LiveRecording, EndsWithItsViewAndIsNotBegunAgainUnasked) {
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    const StreamSender sender{stream_bytes(small_live_stream()), to_port(true)};
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 20; }));
    const auto file = recorded();
    engine_.table().Velmora_stop(engine_.handle(), view_mask);
    EXPECT_EQ(engine_.info().action_bit, 0);
    const auto size = std::filesystem::file_size(file);
    engine_.forget_pictures();
    ASSERT_EQ(engine_.table().Velmora_start(engine_.handle(), view_mask), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(30));
    EXPECT_EQ(engine_.info().action_bit, view_mask);
    EXPECT_EQ(std::filesystem::file_size(file), size);
    EXPECT_EQ(engine_.play(file), 0) << "it is complete";

    engine_.table().Velmora_start(engine_.handle(), view_mask | record_mask);
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 20; }));
    EXPECT_NE(recorded(), file);
    EXPECT_EQ(std::filesystem::file_size(file), size);
}

TEST_F(LiveRecording, BegunWithoutAViewGoesOnWhenOneIsStarted) {
    engine_.table().Velmora_set_streaming_param(engine_.handle(), live_setup(port_));
    ASSERT_EQ(engine_.table().Velmora_start(engine_.handle(), record_mask), 0);
    const StreamSender sender{stream_bytes(small_live_stream()), to_port(true)};
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 20; }));
    const auto file = recorded();
    ASSERT_EQ(engine_.table().Velmora_start(engine_.handle(), view_mask), 0);
    EXPECT_TRUE(engine_.wait_for_pictures(10));
    EXPECT_EQ(recorded(), file);
}

TEST_F(LiveRecording, WithoutADirectoryNothingIsRecordedAndTheViewGoesOn) {
    engine_.table().Velmora_set_record_param(engine_.handle(),
                                             indexed_record_setup(scratch_.path() / "missing"));
    EXPECT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    EXPECT_EQ(engine_.info().action_bit, view_mask);
    const StreamSender sender{stream_bytes(small_live_stream()), to_port(true)};
    EXPECT_TRUE(engine_.wait_for_pictures(10));
    EXPECT_NE(engine_.table().Velmora_start(engine_.handle(), record_mask), 0);
    engine_.table().Velmora_set_record_param(engine_.handle(), indexed_record_setup(scratch_.path()));
    EXPECT_EQ(engine_.table().Velmora_start(engine_.handle(), record_mask), 0) << "it can be tried again";
}

TEST_F(LiveRecording, ACyclicOneKeepsTheLatestSecondsInFilesThatPlay) {
    record_setup_t setup = indexed_record_setup(scratch_.path());
    setup.is_cyclic = 1;
    setup.cyclic_time_sec = 2;
    engine_.table().Velmora_set_record_param(engine_.handle(), setup);
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    const StreamSender sender{stream_bytes(small_live_stream()), to_port(true)};
    std::vector<std::filesystem::path> files;
    while (files.size() < 3) {
        ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
            return !recorded().empty() && (files.empty() || recorded() != files.back());
        }));
        files.push_back(recorded());
    }
    engine_.table().Velmora_stop(engine_.handle(), record_mask);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
        return !std::filesystem::exists(files[0]) && !std::filesystem::exists(files[0].string() + ".idx");
    }));
    EXPECT_TRUE(std::filesystem::exists(files[2]));
    engine_.forget_pictures();
    ASSERT_EQ(engine_.play(files[1]), 0);
    EXPECT_TRUE(engine_.wait_for_pictures(40));
    EXPECT_EQ(engine_.info().get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(engine_.info().player_info.total_second, 2);
}

TEST_F(LiveRecording, AMarkTagsTheSecondThatIsRecorded) {
    ASSERT_EQ(view(engine_, live_setup(port_), view_mask | record_mask), 0);
    const StreamSender sender{stream_bytes(small_live_stream()), to_port(true)};
    ASSERT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.sec_size >= 2; }));
    const auto file = recorded();
    playback_event_t mark{};
    mark.event_type = RECORD_TAG_EVENT;
    engine_.table().Velmora_set_event(engine_.handle(), mark);
    engine_.table().Velmora_stop(engine_.handle(), record_mask);
    EXPECT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t&) { return std::filesystem::exists(file.string() + ".tags"); }));
    ASSERT_EQ(engine_.play(file), 0);
    EXPECT_GE(engine_.table().Velmora_get_tag_by_i(engine_.handle(), 0), 1);
    EXPECT_LT(engine_.table().Velmora_get_tag_by_i(engine_.handle(), 1), 0);
}

} // namespace
