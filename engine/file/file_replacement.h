// Replaces the contents of a file as a whole.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace velmora {

/// Whether the new bytes have to outlast a power failure from now on, which means to wait for the disk.
enum class Durability { at_once, in_time };

/// The file holds the old or the new bytes at every moment.
/// @return false, and errno tells why, when it could not be done; the old file is as it was
bool replace_file(const std::string& path, std::span<const std::uint8_t> bytes, Durability durability);

} // namespace velmora
