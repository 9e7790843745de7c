// The queue of blocks between several producers and consumers. The sanitizers look on.
#include "engine_blocks/block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <latch>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

namespace {

constexpr int producers = 3;
constexpr int consumers = 3;
constexpr int blocks_of_each = 4000;
constexpr int payload = 64;

struct ReleaseFifo {
    void operator()(block_fifo_t* fifo) const { block_FifoRelease(fifo); }
};
using Fifo = std::unique_ptr<block_fifo_t, ReleaseFifo>;

/// Numbers of the blocks that a consumer got, by producer.
using Received = std::vector<std::vector<int>>;

block_t* make_block(std::uint32_t producer, int number) {
    block_t* const block = block_Alloc(payload);
    block->i_stream = producer;
    block->frame_no = number;
    std::memset(block->p_buffer, number & 0xff, payload);
    return block;
}

bool holds_its_own_payload(const block_t& block) {
    return std::all_of(block.p_buffer, block.p_buffer + block.i_buffer,
                       [&](std::uint8_t byte) { return byte == (block.frame_no & 0xff); });
}

void produce(block_fifo_t* fifo, std::uint32_t producer) {
    for (int number = 0; number < blocks_of_each; ++number) {
        block_FifoPut(fifo, make_block(producer, number));
    }
}

/// Keeps what `get` gives, until it gives null.
Received consume(const std::function<block_t*()>& get) {
    Received received(producers);
    while (block_t* const block = get()) {
        EXPECT_TRUE(holds_its_own_payload(*block));
        received[block->i_stream].push_back(block->frame_no);
        block_Release(block);
    }
    return received;
}

/// Runs producers and consumers to the end and returns what each consumer got.
std::vector<Received> run(block_fifo_t* fifo, const std::function<block_t*()>& get,
                          const std::function<void()>& after_producing) {
    std::vector<Received> received(consumers);
    std::vector<std::jthread> getting;
    getting.reserve(consumers);
    for (Received& mine : received) {
        getting.emplace_back([&] { mine = consume(get); });
    }
    {
        std::vector<std::jthread> putting;
        putting.reserve(producers);
        for (std::uint32_t producer = 0; producer < producers; ++producer) {
            putting.emplace_back([=] { produce(fifo, producer); });
        }
    }
    after_producing();
    getting.clear();
    return received;
}

void expect_everything_once_and_in_order(const std::vector<Received>& received) {
    std::vector<int> everything(blocks_of_each);
    std::iota(everything.begin(), everything.end(), 0);
    for (std::size_t producer = 0; producer < producers; ++producer) {
        std::vector<int> all;
        for (const Received& mine : received) {
            const std::vector<int>& numbers = mine[producer];
            EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()))
                << "a consumer gets a producer's blocks in their order";
            all.insert(all.end(), numbers.begin(), numbers.end());
        }
        std::sort(all.begin(), all.end());
        EXPECT_EQ(all, everything) << "producer " << producer;
    }
}

TEST(BlockFifoThreads, EveryBlockArrivesOnceAndInOrder) {
    const Fifo fifo{block_FifoNew()};
    std::latch ended{consumers};
    const auto received = run(
        fifo.get(),
        [&]() -> block_t* {
            block_t* const block = block_FifoGet(fifo.get());
            if (block == nullptr) {
                ended.count_down();
            }
            return block;
        },
        [&] {
            // A wake of a filled queue counts for nothing and several of an empty one count once: until all
            // have ended, wake again.
            while (!ended.try_wait()) {
                block_FifoWake(fifo.get());
                std::this_thread::yield();
            }
        });
    expect_everything_once_and_in_order(received);
    EXPECT_EQ(block_FifoCount(fifo.get()), 0);
    EXPECT_EQ(block_FifoSize(fifo.get()), 0);
}

TEST(BlockFifoThreads, PollingGettersMissNothingAndTheSumsCanBeReadMeanwhile) {
    const Fifo fifo{block_FifoNew()};
    std::atomic<bool> produced{false};
    const auto received = run(
        fifo.get(),
        [&]() -> block_t* {
            while (true) {
                const bool last_look = produced;
                if (block_t* const block = block_FifoGetTimeout(fifo.get(), 1)) {
                    return block;
                }
                if (last_look) {
                    return nullptr;
                }
                EXPECT_GE(block_FifoCount(fifo.get()), 0);
                EXPECT_EQ(block_FifoSize(fifo.get()) % payload, 0);
            }
        },
        [&] { produced = true; });
    expect_everything_once_and_in_order(received);
}

TEST(BlockFifoThreads, BlocksPutBackAreNotLost) {
    const Fifo fifo{block_FifoNew()};
    std::atomic<bool> produced{false};
    const auto received = run(
        fifo.get(),
        [&]() -> block_t* {
            while (true) {
                const bool last_look = produced;
                block_t* const block = block_FifoGetTimeout(fifo.get(), 1);
                if (block == nullptr && last_look && block_FifoCount(fifo.get()) == 0) {
                    return nullptr;
                }
                if (block == nullptr) {
                    continue;
                }
                if (block->i_flags == 1) {
                    return block;
                }
                block->i_flags = 1;
                block_FifoBack(fifo.get(), block);
            }
        },
        [&] { produced = true; });
    std::vector<int> counts(producers);
    for (const Received& mine : received) {
        for (std::size_t producer = 0; producer < producers; ++producer) {
            counts[producer] += static_cast<int>(mine[producer].size());
        }
    }
    EXPECT_EQ(counts, std::vector<int>(producers, blocks_of_each));
}

TEST(BlockFifoThreads, EmptyingWhileOthersPutLeavesTheSumsRight) {
    const Fifo fifo{block_FifoNew()};
    {
        std::vector<std::jthread> putting;
        for (std::uint32_t producer = 0; producer < producers; ++producer) {
            putting.emplace_back([&, producer] { produce(fifo.get(), producer); });
        }
        for (int round = 0; round < 100; ++round) {
            block_FifoEmpty(fifo.get());
            std::this_thread::yield();
        }
    }
    int left = 0;
    for (const LinkUnit_t* entry = fifo->p_first; entry != nullptr; entry = entry->p_next) {
        ++left;
    }
    EXPECT_EQ(block_FifoCount(fifo.get()), left);
    EXPECT_EQ(block_FifoSize(fifo.get()), left * payload);
}

} // namespace
