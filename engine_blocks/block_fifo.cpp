// The queue of blocks.
#include "engine_blocks/block.h"

#include "general/assertion.h"

#include <atomic>
#include <memory>
#include <new>

namespace {

class FifoLock {
public:
    explicit FifoLock(const block_fifo_t& fifo) : lock_{fifo.m_lock} { OS_WaitSemaphore(lock_); }
    ~FifoLock() { OS_SetSemaphore(lock_); }
    FifoLock(const FifoLock&) = delete;
    FifoLock& operator=(const FifoLock&) = delete;

private:
    const OS_Semaphore_t lock_;
};

// The functions below are called with the lock held.

/// The sums are read without the lock, so they are stored in one piece.
void set_sums(block_fifo_t& fifo, std::int32_t depth, std::int32_t size) {
    std::atomic_ref{fifo.i_depth}.store(depth, std::memory_order_relaxed);
    std::atomic_ref{fifo.i_size}.store(size, std::memory_order_relaxed);
}

void set_empty(block_fifo_t& fifo) {
    fifo.p_first = nullptr;
    fifo.pp_last = &fifo.p_first;
}

std::unique_ptr<LinkUnit_t> make_entry(block_t* block, const char* caller) {
    std::unique_ptr<LinkUnit_t> entry{new (std::nothrow) LinkUnit_t{nullptr, block}};
    require(entry != nullptr, "pu !=0", "block", caller);
    return entry;
}

void append(block_fifo_t& fifo, std::unique_ptr<LinkUnit_t> entry) {
    LinkUnit_t* const last = entry.release();
    *fifo.pp_last = last;
    fifo.pp_last = &last->p_next;
}

void prepend(block_fifo_t& fifo, std::unique_ptr<LinkUnit_t> entry) {
    entry->p_next = fifo.p_first;
    fifo.p_first = entry.release();
}

/// @return bytes in the queue with the block that has just come in
int count_in(block_fifo_t& fifo, const block_t& block) {
    set_sums(fifo, fifo.i_depth + 1, fifo.i_size + block.i_buffer);
    return fifo.i_size;
}

/// Takes the oldest block; null when there is none, after a wake or a time-out.
block_t* take_first(block_fifo_t& fifo) {
    fifo.b_force_wake = 0;
    const std::unique_ptr<LinkUnit_t> entry{fifo.p_first};
    if (entry == nullptr) {
        return nullptr;
    }
    fifo.p_first = entry->p_next;
    if (fifo.p_first == nullptr) {
        set_empty(fifo);
    }
    const int bytes = entry->p_block == nullptr ? 0 : entry->p_block->i_buffer;
    set_sums(fifo, fifo.i_depth - 1, fifo.i_size - bytes);
    return entry->p_block;
}

block_t* wait_and_take(block_fifo_t& fifo, U32 timeout_ms) {
    const FifoLock lock{fifo};
    while (fifo.p_first == nullptr && fifo.b_force_wake == 0) {
        if (OS_WaitSignal(fifo.m_sig, fifo.m_lock, timeout_ms) != 0) {
            break;
        }
    }
    return take_first(fifo);
}

} // namespace

block_fifo_t* block_FifoNew() {
    std::unique_ptr<block_fifo_t> fifo{new (std::nothrow) block_fifo_t{}};
    if (fifo != nullptr) {
        fifo->m_sig = OS_AllocSignal();
        fifo->m_lock = OS_AllocSemaphore();
        set_empty(*fifo);
    }
    return fifo.release();
}

void block_FifoRelease(block_fifo_t* p_fifo) {
    const std::unique_ptr<block_fifo_t> fifo{p_fifo};
    fifo->b_force_wake = 1;
    block_FifoEmpty(fifo.get());
    OS_DeleteSemaphore(fifo->m_lock);
    OS_DeleteSignal(fifo->m_sig);
}

void block_FifoEmpty(block_fifo_t* p_fifo) {
    const FifoLock lock{*p_fifo};
    for (LinkUnit_t* next = p_fifo->p_first; next != nullptr;) {
        const std::unique_ptr<LinkUnit_t> entry{next};
        next = entry->p_next;
        block_Release(entry->p_block);
    }
    set_sums(*p_fifo, 0, 0);
    set_empty(*p_fifo);
    OS_SetSignal(p_fifo->m_sig);
}

void block_FifoPace(block_fifo_t* /*fifo*/, std::size_t /*max_depth*/, std::size_t /*max_size*/) {}

int block_FifoPut(block_fifo_t* p_fifo, block_t* p_block) {
    const FifoLock lock{*p_fifo};
    int size = 0;
    if (p_block != nullptr) {
        append(*p_fifo, make_entry(p_block, __PRETTY_FUNCTION__));
        size = count_in(*p_fifo, *p_block);
    }
    OS_SetSignal(p_fifo->m_sig);
    return size;
}

int block_FifoBack(block_fifo_t* p_fifo, block_t* p_block) {
    const FifoLock lock{*p_fifo};
    if (p_block == nullptr) {
        return 0;
    }
    auto entry = make_entry(p_block, __PRETTY_FUNCTION__);
    if (p_fifo->p_first == nullptr) {
        append(*p_fifo, std::move(entry));
    } else {
        prepend(*p_fifo, std::move(entry));
    }
    return count_in(*p_fifo, *p_block);
}

block_t* block_FifoGet(block_fifo_t* p_fifo) {
    return wait_and_take(*p_fifo, OS_WAIT_FOREVER);
}

block_t* block_FifoGetTimeout(block_fifo_t* p_fifo, int timeoutms) {
    return wait_and_take(*p_fifo, static_cast<U32>(timeoutms));
}

void block_FifoWake(block_fifo_t* p_fifo) {
    const FifoLock lock{*p_fifo};
    if (p_fifo->p_first == nullptr) {
        p_fifo->b_force_wake = 1;
    }
    OS_SetSignal(p_fifo->m_sig);
}

int block_FifoSize(block_fifo_t* p_fifo) {
    return std::atomic_ref{p_fifo->i_size}.load(std::memory_order_relaxed);
}

int block_FifoCount(block_fifo_t* p_fifo) {
    return std::atomic_ref{p_fifo->i_depth}.load(std::memory_order_relaxed);
}
