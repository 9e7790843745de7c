#include "engine_blocks/block.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

std::int32_t g_blocks_count = 0;
std::int32_t g_blocks_size = 0;

namespace {

/// Room for the record and for aligning the payload behind it, bytes.
constexpr int allocation_overhead = 200;
constexpr std::size_t payload_alignment = 16;
static_assert(sizeof(block_sys_t) + payload_alignment <= allocation_overhead);
static_assert(offsetof(block_sys_t, self) == 0);

std::uint8_t* aligned_payload(const block_sys_t& record, int size) {
    void* payload = record.p_allocated_buffer;
    std::size_t room = static_cast<std::size_t>(record.i_allocated_buffer) - sizeof record;
    return static_cast<std::uint8_t*>(
        std::align(payload_alignment, static_cast<std::size_t>(size), payload, room));
}

void free_block(block_t* block) {
    --g_blocks_count;
    g_blocks_size -= block->i_buffer;
    ::operator delete(reinterpret_cast<block_sys_t*>(block));
}

} // namespace

void block_Init(block_t* b, void* buf, int size) {
    b->p_next = nullptr;
    b->i_flags = 0;
    b->i_pts = 0;
    b->i_dts = 0;
    b->i_length = 0;
    b->i_rate = 0;
    b->p_buffer = static_cast<std::uint8_t*>(buf);
    b->i_buffer = size;
    b->use_count = 0;
}

block_t* block_Alloc(int i_size) {
    if (i_size < 0 || i_size > std::numeric_limits<int>::max() - allocation_overhead) {
        return nullptr;
    }
    const int total = i_size + allocation_overhead;
    void* const memory = ::operator new(static_cast<std::size_t>(total), std::nothrow);
    if (memory == nullptr) {
        return nullptr;
    }
    auto* const record = new (memory) block_sys_t{};
    record->i_allocated_buffer = total;
    record->p_allocated_buffer = reinterpret_cast<std::uint8_t*>(record + 1);
    block_t* const block = &record->self;
    block_Init(block, aligned_payload(*record, i_size), i_size);
    block->pf_release = BlockRelease;
    block->pf_use_inc = BlockUseInc;
    block->use_count = 1;
    ++g_blocks_count;
    g_blocks_size += i_size;
    return block;
}

block_t* block_mmap_Alloc(void* /*addr*/, std::size_t /*length*/) {
    return nullptr;
}

void block_Release(block_t* p_block) {
    if (p_block != nullptr) {
        p_block->pf_release(p_block);
    }
}

void BlockUseInc(block_t* p_block) {
    ++p_block->use_count;
}

void BlockRelease(block_t* p_block) {
    block_t* next = nullptr;
    for (block_t* block = p_block; block != nullptr; block = next) {
        next = block->p_next;
        if (block->use_count == 1) {
            free_block(block);
        } else if (--block->use_count < 0) {
            std::fprintf(stderr, "************** error(%s) count(%d)**********  \n\r", __func__,
                         block->use_count);
        }
    }
}

void BlockNoRelease(block_t* b) {
    std::fprintf(stderr, "block %p has no release callback! This is a bug!\n", static_cast<void*>(b));
    std::abort();
}

void PrintBlockState() {
    std::fprintf(stderr, " %s bcount(%d),bsize(%d) \n\r", __func__, g_blocks_count, g_blocks_size);
}
