/*
 * A program under measurement.
 */
#ifndef BENCH_PLAYERS_CHILD_PROCESS_H
#define BENCH_PLAYERS_CHILD_PROCESS_H

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/** What to run and where. */
struct Command {
    std::vector<std::string> arguments;   /* the program first */
    std::vector<std::string> environment; /* NAME=value, on top of this process's own */
    std::filesystem::path directory;      /* working directory; empty = this process's own */
};

/** Runs a program; it is killed when the object goes away. */
class ChildProcess {
public:
    explicit ChildProcess(const Command& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /** When the program was started. */
    Clock::time_point started() const { return m_started; }
    /** Processor time of all its threads so far. */
    Milliseconds processor_time() const;
    /** Largest resident memory so far, MiB. */
    double peak_memory() const;
    bool running() const;
    /** Waits until it ends by itself, at most so long. */
    void wait(Milliseconds limit) const;

private:
    Clock::time_point m_started = Clock::now();
    pid_t m_pid;
};

#endif
