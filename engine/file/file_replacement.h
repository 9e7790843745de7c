// Replaces the contents of a file as a whole.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace velmora {

/// The file holds the old or the new bytes at every moment, also when the power fails. Waits for the disk.
/// @return false, and errno tells why, when it could not be done; the old file is as it was
bool replace_file(const std::string& path, std::span<const std::uint8_t> bytes);

} // namespace velmora
