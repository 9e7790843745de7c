// Recording a live stream to a disk that takes nothing for a while.
#include "live_under_test.h"
#include "record/blocked_disk.h"
#include "scratch_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <future>
#include <optional>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int view_mask = 1 << STREAMING_BIT;
constexpr int record_mask = 1 << RECORD_BIT;

class LiveSlowDisk : public testing::Test {
protected:
    void SetUp() override {
        engine_.table().Velmora_set_record_param(engine_.handle(), record_setup(scratch_.path()));
        SendRecipe recipe;
        recipe.target.port = free_udp_port();
        recipe.loops = true;
        ASSERT_EQ(view(engine_, live_setup(recipe.target.port), view_mask | record_mask), 0);
        sender_.emplace(stream_bytes(small_live_stream()), recipe);
        ASSERT_TRUE(
            engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 20; }));
        file_ = engine_.info().record_info.file_name;
    }

    /// Blocks the disk and waits until the recording feels it.
    void block() {
        blocked_.emplace(scratch_.path());
        ASSERT_TRUE(engine_.wait_for_info([](const velmora_info_t&) { return BlockedDisk::holds_one_up(); }));
    }

    std::uintmax_t recorded() const { return std::filesystem::file_size(file_); }

    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
    std::optional<StreamSender> sender_;
    std::filesystem::path file_;
    std::optional<BlockedDisk> blocked_;
};

TEST_F(LiveSlowDisk, StoppingDoesNotWaitForItAndNothingIsLost) {
    block();
    const auto before = recorded();
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(10)) << "viewing goes on";
    const auto begin = Clock::now();
    engine_.table().Velmora_stop(engine_.handle(), record_mask);
    EXPECT_LT(Clock::now() - begin, 500ms);
    EXPECT_EQ(engine_.info().action_bit, view_mask);
    EXPECT_EQ(recorded(), before);

    // Another recording begins meanwhile, in another file, and both get what is theirs.
    ASSERT_EQ(engine_.table().Velmora_start(engine_.handle(), record_mask), 0);
    const std::filesystem::path second = engine_.info().record_info.file_name;
    EXPECT_NE(second, file_);
    blocked_.reset();
    EXPECT_TRUE(
        engine_.wait_for_info([](const velmora_info_t& info) { return info.record_info.kb_size > 20; }));
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return recorded() > before; }));
    EXPECT_EQ(recorded() % 188, 0U);
    engine_.table().Velmora_stop(engine_.handle(), view_mask | record_mask);
    EXPECT_EQ(engine_.play(file_), 0);
}

TEST_F(LiveSlowDisk, ClosingWaitsForWhatCanStillBeWritten) {
    block();
    const auto before = recorded();
    const int pictures = engine_.info().get_strm_info.inp_dec_frame;
    ASSERT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t& info) { return info.get_strm_info.inp_dec_frame > pictures + 10; }));
    auto closing = std::async(std::launch::async, [this] { engine_.close(); });
    EXPECT_EQ(closing.wait_for(500ms), std::future_status::timeout) << "the disk may be back soon";
    blocked_.reset();
    EXPECT_EQ(closing.wait_for(1500ms), std::future_status::ready);
    EXPECT_GT(recorded(), before);
    EXPECT_EQ(recorded() % 188, 0U);
}

} // namespace
