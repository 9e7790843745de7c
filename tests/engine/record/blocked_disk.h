// A disk that takes nothing for a while.
#pragma once

#include <filesystem>

/// While it lives, writes of this process to files in a directory wait, as they do for a disk that is busy or
/// wakes up. One at a time.
class BlockedDisk {
public:
    explicit BlockedDisk(const std::filesystem::path& directory);
    ~BlockedDisk();
    BlockedDisk(const BlockedDisk&) = delete;
    BlockedDisk& operator=(const BlockedDisk&) = delete;

    /// A write waits at the moment.
    static bool holds_one_up();
};
