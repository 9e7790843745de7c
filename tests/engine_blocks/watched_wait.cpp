#include "engine_blocks/watched_wait.h"

#include <atomic>
#include <pthread.h>

namespace {

std::atomic<int> begun{0};

} // namespace

int begun_waits() {
    return begun;
}

void await_begun_waits(int count) {
    for (int seen = begun; seen < count; seen = begun) {
        begun.wait(seen);
    }
}

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
    ++begun;
    begun.notify_all();
    return __real_pthread_cond_wait(condition, mutex);
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
