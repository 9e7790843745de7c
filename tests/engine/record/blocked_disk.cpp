#include "record/blocked_disk.h"

#include <array>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Gate {
    std::mutex mutex;
    std::condition_variable opened;
    std::string directory; ///< "" while it is open
    int waiting{0};
};

Gate& gate() {
    static Gate the_gate;
    return the_gate;
}

bool is_in(std::string_view directory, int descriptor) {
    std::array<char, 4096> target{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t size = ::readlink(link.c_str(), target.data(), target.size());
    return size > 0 && std::string_view{target.data(), static_cast<std::size_t>(size)}.starts_with(directory);
}

} // namespace

/// In the place of the system's, for this process.
extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    {
        std::unique_lock lock{gate().mutex};
        if (!gate().directory.empty() && is_in(gate().directory, descriptor)) {
            ++gate().waiting;
            gate().opened.wait(lock, [] { return gate().directory.empty(); });
            --gate().waiting;
        }
    }
    return ::syscall(SYS_write, descriptor, bytes, size);
}

BlockedDisk::BlockedDisk(const std::filesystem::path& directory) {
    const std::lock_guard lock{gate().mutex};
    gate().directory = directory.string() + '/';
}

BlockedDisk::~BlockedDisk() {
    {
        const std::lock_guard lock{gate().mutex};
        gate().directory.clear();
    }
    gate().opened.notify_all();
}

bool BlockedDisk::holds_one_up() {
    const std::lock_guard lock{gate().mutex};
    return gate().waiting > 0;
}
