#include "players/child_process.h"

#include <array>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> with_own_environment(const std::vector<std::string>& additions) {
    std::vector<std::string> result = additions; // the first of a name counts
    for (char** variable = environ; *variable != nullptr; ++variable) {
        result.emplace_back(*variable);
    }
    return result;
}

pid_t spawn(const Command& command) {
    std::vector<std::string> arguments = command.arguments;
    std::vector<std::string> environment = with_own_environment(command.environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (!command.directory.empty()) {
        posix_spawn_file_actions_addchdir_np(&actions, command.directory.c_str());
    }
    pid_t pid = 0;
    const int error = posix_spawnp(&pid, arguments.front().c_str(), &actions, nullptr,
                                   pointers(arguments).data(), pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + arguments.front());
    }
    return pid;
}

} // namespace

ChildProcess::ChildProcess(const Command& command) : m_pid(spawn(command)) {}

ChildProcess::~ChildProcess() {
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

Milliseconds ChildProcess::processor_time() const {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(m_pid, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        return Milliseconds{0};
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

double ChildProcess::peak_memory() const {
    std::ifstream status("/proc/" + std::to_string(m_pid) + "/status");
    constexpr double kib_per_mib = 1024;
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            double kib = 0;
            status >> kib;
            return kib / kib_per_mib;
        }
    }
    return 0;
}

bool ChildProcess::running() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == 0;
}

void ChildProcess::wait(Milliseconds limit) const {
    const auto end = Clock::now() + limit;
    while (running() && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}
