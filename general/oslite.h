/*
 * Tasks, locks, signals, sleeps and clocks over POSIX threads, under plain names and integer handles.
 *
 * Every operation may be called from any thread. Milliseconds and microseconds as named.
 */
#ifndef GENERAL_OSLITE_H
#define GENERAL_OSLITE_H

#include <cstdint>
#include <pthread.h>

using U32 = std::uint32_t;

/** A task: the POSIX thread handle; 0 = none. */
using OS_Task_t = pthread_t;

/** Handle of a semaphore or a signal: the address of its LinuxSemaphore_t. */
using OS_Semaphore_t = unsigned long;

/** Entry point of a task. */
using OS_TaskFunc_t = void* (*)(void*);

/** The time-out that never runs out, for OS_WaitSignal and OS_TaskWait. */
inline constexpr U32 OS_WAIT_FOREVER = 0xFFFFFFFF;

/** What a semaphore or signal handle refers to. */
struct LinuxSemaphore_t {
    pthread_mutex_t Mutex;    /* the lock; initialised in semaphores only */
    pthread_cond_t Condition; /* initialised in signals only */
    std::int32_t SemCount;    /* number of OS_SetSignal calls on a signal */
};

/** Allocates a semaphore: a lock that is free and not recursive. Released with OS_DeleteSemaphore. */
OS_Semaphore_t OS_AllocSemaphore();
/** Takes the lock; returns 0. */
int OS_WaitSemaphore(OS_Semaphore_t Semaphore);
/** Gives the lock back; returns 0. */
int OS_SetSemaphore(OS_Semaphore_t Semaphore);
/** Frees a semaphore that nobody holds; returns 0. */
int OS_DeleteSemaphore(OS_Semaphore_t Semaphore);

/** Allocates a signal. Released with OS_DeleteSignal. */
OS_Semaphore_t OS_AllocSignal();
/** Counts the call and wakes one waiter, if there is one; returns 0. */
int OS_SetSignal(OS_Semaphore_t Semaphore);
/**
 * Waits for `cond` under `lock`, which the caller holds before and after. Returns 0, or -1 after a time-out.
 * Only OS_WAIT_FOREVER really waits: the deadline of a finite `Time` (ms) is built from the 32-bit clock,
 * lies in the past and runs out at once.
 */
int OS_WaitSignal(OS_Semaphore_t cond, OS_Semaphore_t lock, U32 Time);
/** Frees a signal that nobody waits for; returns 0. */
int OS_DeleteSignal(OS_Semaphore_t Semaphore);

/** Sleeps `ms` milliseconds, less when a signal handler runs. */
void OS_MSleep(U32 ms);
/** Sleeps `micro` microseconds, less when a signal handler runs. */
void OS_MicroSleep(std::int64_t micro);
/** Time of day, microseconds since the epoch. */
std::uint64_t OS_GetMHClock();
/** Time of day, milliseconds since the epoch, modulo 2^32. */
U32 OS_GetKHClock();

/**
 * Starts TaskFunc(Param) on a joinable thread and returns its handle, 0 when no thread could be made. A stack
 * size (bytes) that the system refuses leaves the default stack. Name and priority are not used. The handle
 * is released with OS_TaskDelete.
 */
OS_Task_t OS_TaskCreate(U32 StackSize, const char* TaskName, OS_TaskFunc_t TaskFunc, int Priority,
                        void* Param);
/**
 * Polls until the task has ended or the time-out (ms) has run out; returns -1 in both cases. Each poll sleeps
 * 1 ms and counts as 10: a finite wait lasts about TimeOut / 10 - 1 ms, below 10 it never runs out, 0 polls
 * once.
 */
int OS_TaskWait(OS_Task_t Task, U32 TimeOut);
/** 1 while the task runs, 0 once it has ended. The handle must not have been deleted. */
int OS_IsTaskRunning(OS_Task_t Task);
/** Waits for the task to end and releases its handle. */
void OS_TaskDelete(OS_Task_t Task);
/** The calling thread's handle. */
OS_Task_t OS_TaskGetSelf();
/** Stores the task's scheduling priority; returns 0 or the system's error number. */
int OS_GetTaskPriority(OS_Task_t Task, int* Priority);
/** Does nothing. */
void OS_SetPriortyClass(int preiorty);

#endif
