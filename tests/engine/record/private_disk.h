// A small disk that only one thread of a test, and the threads it starts, can see.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

/// Runs `action` on a thread of its own, for which a memory disk is mounted at `place`.
/// @param options of the disk as mount takes them, such as "size=1m"
/// @param read_only nothing can be written to it
/// @return false, without running the action, when this process may not mount
bool with_private_disk(const std::filesystem::path& place, const std::string& options, bool read_only,
                       const std::function<void()>& action);
