// The queue of blocks: order, sums, waiting, waking.
#include "engine_blocks/block.h"

#include "engine_blocks/failing_memory.h"
#include "engine_blocks/watched_wait.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <future>

namespace {

class BlockFifo : public testing::Test {
protected:
    ~BlockFifo() override {
        block_FifoRelease(fifo_);
        EXPECT_EQ(g_blocks_count, blocks_before_) << "what was in the queue is released with it";
    }

    block_fifo_t* fifo() { return fifo_; }
    block_t* put(int size) {
        block_t* const block = block_Alloc(size);
        block_FifoPut(fifo_, block);
        return block;
    }
    /// Takes the next block, releases it, and tells which it was.
    block_t* take() {
        block_t* const block = block_FifoGet(fifo_);
        block_Release(block);
        return block;
    }
    /// A get on a thread of its own; returns once it waits.
    std::future<block_t*> waiting_get() {
        const int before = begun_waits();
        auto got = std::async(std::launch::async, [this] { return block_FifoGet(fifo_); });
        await_begun_waits(before + 1);
        return got;
    }
    static bool waits(const std::future<block_t*>& got) {
        return got.wait_for(std::chrono::seconds{0}) == std::future_status::timeout;
    }
    /// How often the queue's signal was set.
    int signals() const { return reinterpret_cast<const LinuxSemaphore_t*>(fifo_->m_sig)->SemCount; }

private:
    const int blocks_before_ = g_blocks_count;
    block_fifo_t* fifo_ = block_FifoNew();
};

TEST_F(BlockFifo, IsEmptyWhenNew) {
    EXPECT_EQ(fifo()->p_first, nullptr);
    EXPECT_EQ(fifo()->pp_last, &fifo()->p_first);
    EXPECT_EQ(fifo()->b_force_wake, 0);
    EXPECT_EQ(block_FifoSize(fifo()), 0);
    EXPECT_EQ(block_FifoCount(fifo()), 0);
}

TEST_F(BlockFifo, WithoutMemoryThereIsNone) {
    const FailingMemory failing;
    EXPECT_EQ(block_FifoNew(), nullptr);
}

TEST_F(BlockFifo, GivesBlocksInTheOrderTheyCame) {
    std::array<block_t*, 3> blocks{};
    for (block_t*& block : blocks) {
        block = put(5);
    }
    for (const block_t* block : blocks) {
        EXPECT_EQ(take(), block);
    }
    EXPECT_EQ(fifo()->pp_last, &fifo()->p_first);
}

TEST_F(BlockFifo, KeepsTheSumsOfWhatIsInIt) {
    EXPECT_EQ(block_FifoPut(fifo(), block_Alloc(10)), 10);
    EXPECT_EQ(block_FifoPut(fifo(), block_Alloc(20)), 30);
    EXPECT_EQ(block_FifoSize(fifo()), 30);
    EXPECT_EQ(block_FifoCount(fifo()), 2);
    take();
    EXPECT_EQ(block_FifoSize(fifo()), 20);
    EXPECT_EQ(block_FifoCount(fifo()), 1);
    EXPECT_EQ(block_FifoBack(fifo(), block_Alloc(7)), 27);
    EXPECT_EQ(block_FifoCount(fifo()), 2);
}

TEST_F(BlockFifo, ABlockPutBackIsTheNextToCome) {
    block_t* const p = put(1);
    block_t* const q = put(2);
    block_t* const r = block_Alloc(3);
    block_FifoBack(fifo(), r);
    EXPECT_EQ(take(), r);
    EXPECT_EQ(take(), p);
    EXPECT_EQ(take(), q);
}

TEST_F(BlockFifo, ABlockPutBackIntoAnEmptyQueueComesBeforeLaterOnes) {
    block_t* const back = block_Alloc(1);
    EXPECT_EQ(block_FifoBack(fifo(), back), 1);
    block_t* const later = put(2);
    EXPECT_EQ(take(), back);
    EXPECT_EQ(take(), later);
}

TEST_F(BlockFifo, PuttingNothingBackDoesNothing) {
    put(4);
    EXPECT_EQ(block_FifoBack(fifo(), nullptr), 0);
    EXPECT_EQ(block_FifoCount(fifo()), 1);
}

TEST_F(BlockFifo, OnlyAPutSetsTheSignalNotAPutBack) {
    block_FifoBack(fifo(), block_Alloc(1));
    EXPECT_EQ(signals(), 0) << "deliberately";
    put(1);
    EXPECT_EQ(signals(), 1);
    block_FifoPut(fifo(), nullptr);
    EXPECT_EQ(signals(), 2);
}

TEST_F(BlockFifo, AGetterWaitsForAPut) {
    auto got = waiting_get();
    EXPECT_TRUE(waits(got));
    block_t* const block = put(9);
    EXPECT_EQ(got.get(), block);
    EXPECT_EQ(block_FifoSize(fifo()), 0);
    block_Release(block);
}

TEST_F(BlockFifo, PuttingNothingWakesAGetterThatWaitsAgain) {
    auto got = waiting_get();
    const int before = begun_waits();
    EXPECT_EQ(block_FifoPut(fifo(), nullptr), 0);
    await_begun_waits(before + 1);
    EXPECT_TRUE(waits(got));
    EXPECT_EQ(block_FifoCount(fifo()), 0);
    block_t* const block = put(9);
    EXPECT_EQ(got.get(), block);
    block_Release(block);
}

TEST_F(BlockFifo, AWakeOfAnEmptyQueueLetsOneGetReturnWithNothing) {
    block_FifoWake(fifo());
    EXPECT_EQ(fifo()->b_force_wake, 1);
    EXPECT_EQ(block_FifoGet(fifo()), nullptr);
    EXPECT_EQ(fifo()->b_force_wake, 0);
    auto got = waiting_get();
    EXPECT_TRUE(waits(got)) << "the wake is used up";
    block_FifoWake(fifo());
    EXPECT_EQ(got.get(), nullptr);
}

TEST_F(BlockFifo, AWakeOfAFilledQueueOnlySignals) {
    block_t* const block = put(3);
    const int before = signals();
    block_FifoWake(fifo());
    EXPECT_EQ(signals(), before + 1);
    EXPECT_EQ(fifo()->b_force_wake, 0);
    EXPECT_EQ(take(), block);
}

TEST_F(BlockFifo, AGetUsesUpTheWakeEvenWhenItFindsABlock) {
    block_FifoWake(fifo());
    block_t* const block = put(3);
    EXPECT_EQ(take(), block);
    EXPECT_EQ(fifo()->b_force_wake, 0);
}

TEST_F(BlockFifo, AFiniteTimeOutDoesNotWait) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(block_FifoGetTimeout(fifo(), 60'000), nullptr);
    EXPECT_EQ(block_FifoGetTimeout(fifo(), 0), nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{30});
    block_t* const block = put(1);
    EXPECT_EQ(block_FifoGetTimeout(fifo(), 60'000), block);
    block_Release(block);
    block_FifoWake(fifo());
    EXPECT_EQ(block_FifoGetTimeout(fifo(), 60'000), nullptr);
    EXPECT_EQ(fifo()->b_force_wake, 0);
}

TEST_F(BlockFifo, ATimeOutOfMinusOneWaitsLikeAGet) {
    const int before = begun_waits();
    auto got = std::async(std::launch::async, [this] { return block_FifoGetTimeout(fifo(), -1); });
    await_begun_waits(before + 1);
    EXPECT_TRUE(waits(got));
    block_t* const block = put(1);
    EXPECT_EQ(got.get(), block);
    block_Release(block);
}

TEST_F(BlockFifo, EmptyingReleasesWhatIsInItAndSignals) {
    const int blocks = g_blocks_count;
    put(1);
    put(2);
    block_t* const kept = put(3);
    kept->pf_use_inc(kept);
    const int before = signals();
    block_FifoEmpty(fifo());
    EXPECT_EQ(signals(), before + 1);
    EXPECT_EQ(g_blocks_count, blocks + 1);
    EXPECT_EQ(kept->use_count, 1);
    block_Release(kept);
    EXPECT_EQ(block_FifoSize(fifo()), 0);
    EXPECT_EQ(block_FifoCount(fifo()), 0);
    block_t* const later = put(4);
    EXPECT_EQ(take(), later) << "and it goes on";
}

TEST_F(BlockFifo, PacingDoesNothing) {
    put(100);
    put(100);
    block_FifoPace(fifo(), 1, 1);
    EXPECT_EQ(block_FifoCount(fifo()), 2);
}

class BlockFifoDeath : public BlockFifo {
protected:
    BlockFifoDeath() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(BlockFifoDeath, APutWithoutMemoryForTheEntryEndsTheProcess) {
    EXPECT_DEATH(
        {
            block_t* const block = block_Alloc(1);
            const FailingMemory failing;
            block_FifoPut(fifo(), block);
        },
        "block:[0-9]+: int block_FifoPut\\(block_fifo_t\\*, block_t\\*\\): Assertion `pu !=0' failed\\.");
}

TEST_F(BlockFifoDeath, APutBackWithoutMemoryForTheEntryEndsTheProcess) {
    EXPECT_DEATH(
        {
            block_t* const block = block_Alloc(1);
            const FailingMemory failing;
            block_FifoBack(fifo(), block);
        },
        "block:[0-9]+: int block_FifoBack\\(block_fifo_t\\*, block_t\\*\\): Assertion `pu !=0' failed\\.");
}

} // namespace
