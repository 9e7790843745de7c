// The backlog never holds up its feeder, however slow the disk is, and never grows beyond its bound.
#include "record/block_backlog.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>

namespace velmora {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t block_size = 1316;

SharedBlock block(std::size_t size = block_size) {
    return std::make_shared<const PacketBlock>(
        PacketBlock{std::vector<std::uint8_t>(size), SteadyClock::now()});
}

TEST(BlockBacklogTest, RefusesWhatDoesNotFitUntilSomethingIsTaken) {
    BlockBacklog backlog{10 * block_size, 4 * block_size, real_time()};
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(backlog.put(block()));
    }
    EXPECT_FALSE(backlog.put(block()));
    EXPECT_FALSE(backlog.put(block(188)));
    EXPECT_EQ(backlog.take(0ms).size(), 4U);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(backlog.put(block()));
    }
    EXPECT_FALSE(backlog.put(block()));
}

TEST(BlockBacklogTest, HandsOutWholePiecesInOrderAndWhatIsLeftInTime) {
    BlockBacklog backlog{1000 * block_size, 4 * block_size, real_time()};
    std::vector<SharedBlock> fed;
    for (int i = 0; i < 6; ++i) {
        fed.push_back(block());
        backlog.put(fed.back());
    }
    const auto piece = backlog.take(1h);
    EXPECT_EQ(piece, (std::vector{fed[0], fed[1], fed[2], fed[3]}));
    const auto before = SteadyClock::now();
    const auto rest = backlog.take(50ms);
    EXPECT_EQ(rest, (std::vector{fed[4], fed[5]}));
    EXPECT_GE(SteadyClock::now() - before, 40ms);
}

TEST(BlockBacklogTest, WakesForAPieceAndWhenAskedTo) {
    BlockBacklog backlog{1000 * block_size, 2 * block_size, real_time()};
    auto taken = std::async(std::launch::async, [&] { return backlog.take(1h).size(); });
    backlog.put(block());
    EXPECT_EQ(taken.wait_for(0s), std::future_status::timeout);
    backlog.put(block());
    EXPECT_EQ(taken.get(), 2U);
    taken = std::async(std::launch::async, [&] { return backlog.take(1h).size(); });
    backlog.wake();
    EXPECT_EQ(taken.get(), 0U);
}

TEST(BlockBacklogTest, ClosedGivesOutWhatItHolds) {
    BlockBacklog backlog{1000 * block_size, 2 * block_size, real_time()};
    for (int i = 0; i < 3; ++i) {
        backlog.put(block());
    }
    backlog.close();
    EXPECT_FALSE(backlog.put(block()));
    EXPECT_FALSE(backlog.is_drained());
    EXPECT_EQ(backlog.take(1h).size(), 2U);
    EXPECT_EQ(backlog.take(1h).size(), 1U);
    EXPECT_TRUE(backlog.is_drained());
    EXPECT_TRUE(backlog.take(1h).empty());
}

} // namespace
} // namespace velmora
