/*
 * Reference-counted media blocks, and a queue of them that threads share.
 *
 * A block is one heap allocation, header and payload together. Whoever holds it gives it back with
 * block_Release. Counts of blocks are plain integers, changed without a lock: a block's own is right as long
 * as threads do not change it at the same time, the process-wide ones as long as one thread allocates and
 * frees.
 *
 * A queue takes any number of producers and consumers. Sizes are bytes of payload, times milliseconds.
 */
#ifndef ENGINE_BLOCKS_BLOCK_H
#define ENGINE_BLOCKS_BLOCK_H

#include "general/oslite.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

struct block_t;

/** Gives one hold of a block back. */
using block_release_t = void (*)(block_t*);
/** Adds one hold to a block. */
using block_use_inc_t = void (*)(block_t*);

/** Payload and what is known of it. Members without a comment are carried for producers and consumers. */
struct block_t {
    block_t* p_next; /* next block of a chain, null at its end */
    std::uint32_t i_stream;
    std::int32_t i_codec_type;
    std::uint32_t i_flags;
    std::int32_t i_codec;
    std::uint64_t i_pts;
    std::uint64_t i_dts;
    std::int64_t i_length; /* duration */
    std::int32_t i_samples;
    std::int32_t i_rate;
    std::int32_t i_channels;
    std::int32_t i_bps;       /* bits per sample */
    std::int32_t i_buffer;    /* payload length */
    std::uintptr_t phys_addr; /* of the payload, where there is one */
    std::uint8_t* p_buffer;   /* payload */
    std::int32_t width;
    std::int32_t height;
    std::uint32_t format;
    std::int32_t frame_no;
    std::int32_t index;
    std::int32_t use_count; /* holders */
    std::int32_t src_app;
    void* p_alloc;              /* the allocator's own */
    block_release_t pf_release; /* every block has one */
    block_use_inc_t pf_use_inc;
};

/** What stands behind every block of block_Alloc; has the address of its block. */
struct block_sys_t {
    block_t self;
    std::int32_t i_allocated_buffer;  /* size of the whole allocation, bytes */
    std::uint8_t* p_allocated_buffer; /* start of the storage that the payload lies in */
};

/** One entry of a queue; owned by the queue. */
struct LinkUnit_s {
    LinkUnit_s* p_next;
    block_t* p_block;
};
using LinkUnit_t = LinkUnit_s;

/** A queue; it owns the blocks in it. All members are protected by m_lock. */
struct block_fifo_t {
    LinkUnit_t* p_first;       /* oldest entry, null when empty */
    LinkUnit_t** pp_last;      /* where the next entry is linked */
    std::int32_t i_depth;      /* entries; read without the lock, too */
    std::int32_t i_size;       /* bytes in all entries; read without the lock, too */
    std::int32_t b_force_wake; /* 1 = one get returns although the queue is empty */
    OS_Semaphore_t m_sig;      /* wakes getters; set while m_lock is held */
    OS_Semaphore_t m_lock;
};

/** Blocks allocated and not yet freed, and the sum of their payloads; for diagnostics. */
extern std::int32_t g_blocks_count;
extern std::int32_t g_blocks_size;

/** Clears chain, flags, times, rate and use count, and sets the payload; leaves the other members alone. */
void block_Init(block_t* b, void* buf, int size);
/** Allocates a block with one holder, its payload aligned to 16 bytes; null without memory. */
block_t* block_Alloc(int i_size);
/** Not supported: always null. */
block_t* block_mmap_Alloc(void* addr, std::size_t length);
/** Gives one hold of the block, or of every block of its chain, back; null does nothing. */
void block_Release(block_t* p_block);
/** Adds one hold to a heap block. */
void BlockUseInc(block_t* p_block);
/** Gives one hold of every heap block of the chain back; the last one frees. Reports one too many. */
void BlockRelease(block_t* p_block);
/** For blocks that must never be released: reports and aborts the process. */
void BlockNoRelease(block_t* b);
/** Writes the process-wide counters to standard error. */
void PrintBlockState();

/** Copies the payloads of a chain, in order, at most `i_max` bytes; returns the bytes copied. */
static inline int block_ChainExtract(const block_t* p_list, void* p_data, int i_max) {
    auto* destination = static_cast<std::uint8_t*>(p_data);
    int copied = 0;
    for (const block_t* block = p_list; block != nullptr && copied < i_max; block = block->p_next) {
        const int part = std::min(block->i_buffer, i_max - copied);
        std::memcpy(destination + copied, block->p_buffer, static_cast<std::size_t>(part));
        copied += part;
    }
    return copied;
}

/** A new, empty queue; null without memory. Released with block_FifoRelease. */
block_fifo_t* block_FifoNew();
/** Releases the blocks in the queue, then the queue, which nobody uses any more. */
void block_FifoRelease(block_fifo_t* p_fifo);
/** Releases the blocks in the queue, under its lock, and wakes a getter. */
void block_FifoEmpty(block_fifo_t* p_fifo);
/** Does nothing. */
void block_FifoPace(block_fifo_t* fifo, std::size_t max_depth, std::size_t max_size);
/**
 * Appends a block and wakes a getter; returns the bytes in the queue. Null only wakes, and gives 0. Without
 * memory for the entry the process ends.
 */
int block_FifoPut(block_fifo_t* p_fifo, block_t* p_block);
/** Puts a block back to the head; as block_FifoPut, but wakes nobody. */
int block_FifoBack(block_fifo_t* p_fifo, block_t* p_block);
/** Waits for a block and takes it; null after block_FifoWake. */
block_t* block_FifoGet(block_fifo_t* p_fifo);
/**
 * As block_FifoGet for a time-out of -1. With any other it does not wait, as the signal's finite waits run
 * out at once (see OS_WaitSignal): the oldest block, or null.
 */
block_t* block_FifoGetTimeout(block_fifo_t* p_fifo, int timeoutms);
/** Lets one get return null if the queue is empty. */
void block_FifoWake(block_fifo_t* p_fifo);
/** Bytes in the queue; does not take the lock. */
int block_FifoSize(block_fifo_t* p_fifo);
/** Blocks in the queue; does not take the lock. */
int block_FifoCount(block_fifo_t* p_fifo);

#endif
