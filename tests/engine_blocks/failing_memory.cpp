#include "engine_blocks/failing_memory.h"

#include <atomic>
#include <new>

namespace {

std::atomic<int> failing{0};

} // namespace

FailingMemory::FailingMemory() {
    ++failing;
}

FailingMemory::~FailingMemory() {
    --failing;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (failing > 0) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
