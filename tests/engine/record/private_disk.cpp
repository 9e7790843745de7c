#include "record/private_disk.h"

#include <sched.h>
#include <sys/mount.h>
#include <thread>

bool with_private_disk(const std::filesystem::path& place, const std::string& options, bool read_only,
                       const std::function<void()>& action) {
    bool is_mounted = false;
    std::jthread{[&] {
        is_mounted =
            ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
            ::mount("tmpfs", place.c_str(), "tmpfs", read_only ? MS_RDONLY : 0, options.c_str()) == 0;
        if (is_mounted) {
            action();
        }
    }}.join();
    return is_mounted;
}
