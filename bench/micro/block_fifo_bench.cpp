// Put and get of the block queue beside std::deque behind a mutex, by number of threads.
//
// Every thread puts one block and then takes one, so that no get waits for long and the queue stays short.
#include "engine_blocks/block.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

namespace {

constexpr int payload = 1316; // seven transport packets

struct ReleaseBlock {
    void operator()(block_t* block) const { block_Release(block); }
};
using BlockHandle = std::unique_ptr<block_t, ReleaseBlock>;

/// The block queue with the interface of the other one.
class BlockFifo {
public:
    void put(BlockHandle block) { block_FifoPut(fifo_.get(), block.release()); }
    BlockHandle get() { return BlockHandle{block_FifoGet(fifo_.get())}; }

private:
    struct Release {
        void operator()(block_fifo_t* fifo) const { block_FifoRelease(fifo); }
    };
    const std::unique_ptr<block_fifo_t, Release> fifo_{block_FifoNew()};
};

/// What the standard library offers for the same purpose.
class DequeBehindMutex {
public:
    void put(BlockHandle block) {
        {
            const std::lock_guard lock{mutex_};
            blocks_.push_back(std::move(block));
        }
        filled_.notify_one();
    }
    BlockHandle get() {
        std::unique_lock lock{mutex_};
        filled_.wait(lock, [this] { return !blocks_.empty(); });
        BlockHandle block = std::move(blocks_.front());
        blocks_.pop_front();
        return block;
    }

private:
    std::mutex mutex_;
    std::condition_variable filled_;
    std::deque<BlockHandle> blocks_;
};

template <class Queue>
void put_and_get(benchmark::State& state) {
    static Queue queue;
    BlockHandle block{block_Alloc(payload)};
    for ([[maybe_unused]] auto step : state) {
        queue.put(std::move(block));
        block = queue.get();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(put_and_get<BlockFifo>)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(put_and_get<DequeBehindMutex>)->ThreadRange(1, 4)->UseRealTime();

/// One thread, `state.range(0)` blocks in the queue at its fullest.
template <class Queue>
void fill_and_drain(benchmark::State& state) {
    static Queue queue;
    const auto depth = state.range(0);
    for ([[maybe_unused]] auto step : state) {
        for (auto count = depth; count > 0; --count) {
            queue.put(BlockHandle{block_Alloc(payload)});
        }
        for (auto count = depth; count > 0; --count) {
            benchmark::DoNotOptimize(queue.get());
        }
    }
    state.SetItemsProcessed(state.iterations() * depth);
}
BENCHMARK(fill_and_drain<BlockFifo>)->Arg(16)->Arg(1024);
BENCHMARK(fill_and_drain<DequeBehindMutex>)->Arg(16)->Arg(1024);

} // namespace
