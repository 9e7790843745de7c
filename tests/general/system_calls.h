/*
 * System calls that a test watches or lets fail. The linker puts the stand-ins in place (--wrap).
 */
#ifndef TESTS_GENERAL_SYSTEM_CALLS_H
#define TESTS_GENERAL_SYSTEM_CALLS_H

#include <ctime>
#include <functional>
#include <optional>
#include <sys/time.h>

/** What the calls do while set; the thread that sets it is the only one that makes these calls. */
struct SystemCalls {
    int mutex_init = 0;                              /* result of pthread_mutex_init unless 0 */
    int cond_init = 0;                               /* result of pthread_cond_init unless 0 */
    int thread_create = 0;                           /* result of pthread_create unless 0 */
    bool fail_allocation = false;                    /* operator new (nothrow) gives null */
    std::optional<timeval> time_of_day;              /* what gettimeofday tells */
    std::function<int(const timespec&)> sleep;       /* instead of nanosleep */
    std::function<void(const timespec&)> timed_wait; /* before pthread_cond_timedwait, with its deadline */
};

extern SystemCalls system_calls;

#endif
