/*
 * Memory that runs out when a test says so.
 */
#ifndef TESTS_ENGINE_BLOCKS_FAILING_MEMORY_H
#define TESTS_ENGINE_BLOCKS_FAILING_MEMORY_H

/** While one lives, operator new (nothrow) gives null. */
class FailingMemory {
public:
    FailingMemory();
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;
};

#endif
