#include "general/system_calls.h"

#include <new>
#include <pthread.h>

SystemCalls system_calls;

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (system_calls.fail_allocation) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes);
int __real_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                          void* argument);
int __real_gettimeofday(timeval* now, void* zone);
int __real_nanosleep(const timespec* duration, timespec* rest);

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
    return system_calls.mutex_init != 0 ? system_calls.mutex_init
                                        : __real_pthread_mutex_init(mutex, attributes);
}

int __wrap_pthread_cond_init(pthread_cond_t* condition, const pthread_condattr_t* attributes) {
    return system_calls.cond_init != 0 ? system_calls.cond_init
                                       : __real_pthread_cond_init(condition, attributes);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline) {
    if (system_calls.timed_wait) {
        system_calls.timed_wait(*deadline);
    }
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                          void* argument) {
    if (system_calls.thread_create != 0) {
        return system_calls.thread_create;
    }
    return __real_pthread_create(thread, attributes, entry, argument);
}

int __wrap_gettimeofday(timeval* now, void* zone) {
    if (system_calls.time_of_day) {
        *now = *system_calls.time_of_day;
        return 0;
    }
    return __real_gettimeofday(now, zone);
}

int __wrap_nanosleep(const timespec* duration, timespec* rest) {
    return system_calls.sleep ? system_calls.sleep(*duration) : __real_nanosleep(duration, rest);
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
