#include "general/oslite.h"

#include "general/assertion.h"

#include <atomic>
#include <bit>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <memory>
#include <new>
#include <sys/time.h>

namespace {

constexpr const char* source_name = "oslite";

LinuxSemaphore_t* object(OS_Semaphore_t handle) {
    return std::bit_cast<LinuxSemaphore_t*>(handle);
}

OS_Semaphore_t to_handle(std::unique_ptr<LinuxSemaphore_t> owned) {
    return std::bit_cast<OS_Semaphore_t>(owned.release());
}

std::unique_ptr<LinuxSemaphore_t> take(OS_Semaphore_t handle) {
    return std::unique_ptr<LinuxSemaphore_t>(object(handle));
}

timeval time_of_day() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

} // namespace

OS_Semaphore_t OS_AllocSemaphore() {
    auto semaphore = std::make_unique<LinuxSemaphore_t>();
    const int rc = pthread_mutex_init(&semaphore->Mutex, nullptr);
    require(rc == 0, "rc==0", source_name);
    return to_handle(std::move(semaphore));
}

int OS_WaitSemaphore(OS_Semaphore_t Semaphore) {
    const int rc = pthread_mutex_lock(&object(Semaphore)->Mutex);
    require(rc == 0, "rc ==0", source_name);
    return 0;
}

int OS_SetSemaphore(OS_Semaphore_t Semaphore) {
    const int rc = pthread_mutex_unlock(&object(Semaphore)->Mutex);
    require(rc == 0, "rc==0", source_name);
    return 0;
}

int OS_DeleteSemaphore(OS_Semaphore_t Semaphore) {
    const auto semaphore = take(Semaphore);
    pthread_mutex_destroy(&semaphore->Mutex);
    return 0;
}

OS_Semaphore_t OS_AllocSignal() {
    std::unique_ptr<LinuxSemaphore_t> signal(new (std::nothrow) LinuxSemaphore_t{});
    require(signal != nullptr, "pSem !=0", source_name);
    const int rc = pthread_cond_init(&signal->Condition, nullptr);
    require(rc == 0, "rc ==0", source_name);
    return to_handle(std::move(signal));
}

int OS_SetSignal(OS_Semaphore_t Semaphore) {
    LinuxSemaphore_t* signal = object(Semaphore);
    std::atomic_ref(signal->SemCount).fetch_add(1, std::memory_order_relaxed);
    pthread_cond_signal(&signal->Condition);
    return 0;
}

int OS_WaitSignal(OS_Semaphore_t cond, OS_Semaphore_t lock, U32 Time) {
    pthread_cond_t* condition = &object(cond)->Condition;
    pthread_mutex_t* mutex = &object(lock)->Mutex;
    if (Time == OS_WAIT_FOREVER) {
        pthread_cond_wait(condition, mutex);
        return 0;
    }
    const U32 timeout = Time + OS_GetKHClock();
    const timespec deadline{.tv_sec = timeout / 1000, .tv_nsec = (timeout % 1000) * 1000L};
    return pthread_cond_timedwait(condition, mutex, &deadline) == ETIMEDOUT ? -1 : 0;
}

int OS_DeleteSignal(OS_Semaphore_t Semaphore) {
    const auto signal = take(Semaphore);
    pthread_cond_destroy(&signal->Condition);
    return 0;
}

void OS_MSleep(U32 ms) {
    const timespec duration{.tv_sec = ms / 1000, .tv_nsec = (ms % 1000) * 1'000'000L};
    nanosleep(&duration, nullptr);
}

void OS_MicroSleep(std::int64_t micro) {
    const timespec duration{.tv_sec = micro / 1'000'000, .tv_nsec = (micro % 1'000'000) * 1000L};
    nanosleep(&duration, nullptr);
}

std::uint64_t OS_GetMHClock() {
    const timeval now = time_of_day();
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000U + static_cast<std::uint64_t>(now.tv_usec);
}

U32 OS_GetKHClock() {
    const timeval now = time_of_day();
    return static_cast<U32>(now.tv_sec) * 1000U + static_cast<U32>(now.tv_usec / 1000);
}

OS_Task_t OS_TaskCreate(U32 StackSize, const char* /*TaskName*/, OS_TaskFunc_t TaskFunc, int /*Priority*/,
                        void* Param) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, StackSize);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
    OS_Task_t task = 0;
    const int rc = pthread_create(&task, &attributes, TaskFunc, Param);
    pthread_attr_destroy(&attributes);
    return rc == 0 ? task : 0;
}

int OS_TaskWait(OS_Task_t Task, U32 TimeOut) {
    U32 Time = TimeOut;
    while (OS_IsTaskRunning(Task) != 0) {
        if (TimeOut != OS_WAIT_FOREVER) {
            Time -= 10;
            if (Time <= 9) {
                break;
            }
        }
        if (TimeOut == 0) {
            break;
        }
        OS_MSleep(1);
    }
    return -1;
}

int OS_IsTaskRunning(OS_Task_t Task) {
    if (Task == 0) {
        return 0;
    }
    // pthread_kill reports success for a thread that has ended but is not joined yet; pthread_sigqueue asks
    // the kernel by the thread id, which the kernel itself clears when the thread ends.
    constexpr int null_signal = 0;
    return pthread_sigqueue(Task, null_signal, sigval{}) == 0 ? 1 : 0;
}

void OS_TaskDelete(OS_Task_t Task) {
    if (Task == 0) {
        return;
    }
    // A joined handle is gone, and its memory may already carry another thread: detach only what could not be
    // joined, such as the calling thread itself.
    if (pthread_join(Task, nullptr) != 0) {
        pthread_detach(Task);
    }
}

OS_Task_t OS_TaskGetSelf() {
    return pthread_self();
}

int OS_GetTaskPriority(OS_Task_t Task, int* Priority) {
    int policy = 0;
    sched_param parameters{};
    const int rc = pthread_getschedparam(Task, &policy, &parameters);
    *Priority = parameters.sched_priority;
    return rc;
}

void OS_SetPriortyClass(int /*preiorty*/) {}
