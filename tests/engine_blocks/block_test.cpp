// Blocks: allocation, holds, chains.
#include "engine_blocks/block.h"

#include "engine_blocks/failing_memory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace {

class Block : public testing::Test {
protected:
    ~Block() override {
        EXPECT_EQ(g_blocks_count, blocks_before_) << "every block is given back";
        EXPECT_EQ(g_blocks_size, size_before_);
    }

    int new_blocks() const { return g_blocks_count - blocks_before_; }
    int new_bytes() const { return g_blocks_size - size_before_; }
    static std::string errors_of_releasing(block_t* block) {
        testing::internal::CaptureStderr();
        block_Release(block);
        return testing::internal::GetCapturedStderr();
    }
    /// Numbers the payload's bytes from `first` on.
    static block_t* numbered_block(int size, std::uint8_t first) {
        block_t* const block = block_Alloc(size);
        std::iota(block->p_buffer, block->p_buffer + size, first);
        return block;
    }

private:
    const int blocks_before_ = g_blocks_count;
    const int size_before_ = g_blocks_size;
};

TEST_F(Block, InitSetsWhatItOwnsAndLeavesTheRest) {
    block_t block{};
    std::memset(&block, 0x5a, sizeof block);
    const block_t before = block;
    std::uint8_t payload[8];
    block_Init(&block, payload, 8);
    EXPECT_EQ(block.p_next, nullptr);
    EXPECT_EQ(block.i_flags, 0U);
    EXPECT_EQ(block.i_pts, 0U);
    EXPECT_EQ(block.i_dts, 0U);
    EXPECT_EQ(block.i_length, 0);
    EXPECT_EQ(block.i_rate, 0);
    EXPECT_EQ(block.p_buffer, payload);
    EXPECT_EQ(block.i_buffer, 8);
    EXPECT_EQ(block.use_count, 0);
    EXPECT_EQ(block.i_stream, before.i_stream);
    EXPECT_EQ(block.i_codec, before.i_codec);
    EXPECT_EQ(block.width, before.width);
    EXPECT_EQ(block.src_app, before.src_app);
    EXPECT_EQ(block.pf_release, before.pf_release);
}

TEST_F(Block, AnAllocatedBlockHasOneHolderAndAnAlignedPayload) {
    for (const int size : {1, 16, 1316, 1'000'000}) {
        block_t* const block = block_Alloc(size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(block->use_count, 1);
        EXPECT_EQ(block->i_buffer, size);
        EXPECT_EQ(block->p_next, nullptr);
        EXPECT_EQ(block->pf_release, &BlockRelease);
        EXPECT_EQ(block->pf_use_inc, &BlockUseInc);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block->p_buffer) % 16, 0U);
        const auto* const record = reinterpret_cast<const block_sys_t*>(block);
        EXPECT_EQ(record->i_allocated_buffer, size + 200);
        EXPECT_GE(block->p_buffer, record->p_allocated_buffer);
        EXPECT_LT(block->p_buffer, record->p_allocated_buffer + 16);
        std::memset(block->p_buffer, 0xff, static_cast<std::size_t>(size)); // all of it is there
        EXPECT_EQ(new_blocks(), 1);
        EXPECT_EQ(new_bytes(), size);
        block_Release(block);
    }
}

TEST_F(Block, AnEmptyBlockIsABlock) {
    block_t* const block = block_Alloc(0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->i_buffer, 0);
    EXPECT_NE(block->p_buffer, nullptr);
    EXPECT_EQ(new_blocks(), 1);
    EXPECT_EQ(new_bytes(), 0);
    block_Release(block);
}

TEST_F(Block, WithoutMemoryThereIsNone) {
    {
        const FailingMemory failing;
        EXPECT_EQ(block_Alloc(100), nullptr);
    }
    EXPECT_EQ(block_Alloc(-1), nullptr);
    EXPECT_EQ(block_Alloc(std::numeric_limits<int>::max()), nullptr) << "no size for header and payload";
    EXPECT_EQ(new_blocks(), 0);
}

TEST_F(Block, MappedBlocksAreNotSupported) {
    std::uint8_t memory[16];
    EXPECT_EQ(block_mmap_Alloc(memory, sizeof memory), nullptr);
}

TEST_F(Block, IsFreedWithItsLastHold) {
    block_t* const block = block_Alloc(50);
    block->pf_use_inc(block);
    EXPECT_EQ(block->use_count, 2);
    block_Release(block);
    EXPECT_EQ(block->use_count, 1);
    EXPECT_EQ(new_blocks(), 1);
    block_Release(block);
    EXPECT_EQ(new_blocks(), 0);
    EXPECT_EQ(new_bytes(), 0);
}

TEST_F(Block, ReleasingNothingDoesNothing) {
    EXPECT_EQ(errors_of_releasing(nullptr), "");
}

TEST_F(Block, ReleaseGoesThroughTheBlocksOwnCallback) {
    static block_t* released = nullptr;
    block_t block{};
    block_Init(&block, nullptr, 0);
    block.pf_release = [](block_t* which) { released = which; };
    block_Release(&block);
    EXPECT_EQ(released, &block);
}

TEST_F(Block, ReleasingAChainDropsOneHoldOfEachBlock) {
    block_t* const first = block_Alloc(10);
    block_t* const second = block_Alloc(20);
    block_t* const third = block_Alloc(30);
    first->p_next = second;
    second->p_next = third;
    BlockUseInc(second);
    block_Release(first);
    EXPECT_EQ(new_blocks(), 1);
    EXPECT_EQ(new_bytes(), 20);
    EXPECT_EQ(second->use_count, 1);
    second->p_next = nullptr;
    block_Release(second);
}

TEST_F(Block, OneReleaseTooManyIsReportedAndTheChainGoesOn) {
    block_t unheld{};
    block_Init(&unheld, nullptr, 0);
    unheld.pf_release = BlockRelease;
    unheld.p_next = block_Alloc(10);
    EXPECT_EQ(errors_of_releasing(&unheld), "************** error(BlockRelease) count(-1)**********  \n\r");
    EXPECT_EQ(unheld.use_count, -1);
    EXPECT_EQ(new_blocks(), 0) << "the block behind it is freed";
    unheld.p_next = nullptr;
    EXPECT_EQ(errors_of_releasing(&unheld), "************** error(BlockRelease) count(-2)**********  \n\r");
}

TEST_F(Block, TheStateIsPrintedToStandardError) {
    block_t* const block = block_Alloc(77);
    testing::internal::CaptureStderr();
    PrintBlockState();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), " PrintBlockState bcount(" +
                                                          std::to_string(g_blocks_count) + "),bsize(" +
                                                          std::to_string(g_blocks_size) + ") \n\r");
    block_Release(block);
}

TEST_F(Block, AChainsPayloadsAreCopiedInOrderUpToTheLimit) {
    block_t* const first = numbered_block(100, 0);
    block_t* const second = numbered_block(50, 100);
    first->p_next = second;
    std::vector<std::uint8_t> expected(150);
    std::iota(expected.begin(), expected.end(), std::uint8_t{0});
    for (const int limit : {120, 100, 99, 1, 0, -1, 150, 400}) {
        const auto copied = static_cast<std::size_t>(std::clamp(limit, 0, 150));
        std::vector<std::uint8_t> data(400, 0xee);
        EXPECT_EQ(block_ChainExtract(first, data.data(), limit), static_cast<int>(copied));
        std::vector<std::uint8_t> wanted{expected.begin(), expected.begin() + static_cast<int>(copied)};
        wanted.resize(data.size(), 0xee);
        EXPECT_EQ(data, wanted) << "limit " << limit;
    }
    EXPECT_EQ(block_ChainExtract(nullptr, nullptr, 10), 0);
    block_Release(first);
}

TEST(BlockDeath, ABlockThatMustNeverBeReleasedEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    block_t block{};
    block_Init(&block, nullptr, 0);
    block.pf_release = BlockNoRelease;
    EXPECT_EXIT(block_Release(&block), testing::KilledBySignal(SIGABRT),
                "block 0x[0-9a-f]+ has no release callback! This is a bug!");
}

} // namespace
