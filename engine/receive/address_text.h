// IPv4 addresses as people write them.
#pragma once

#include <cstdint>
#include <string>

namespace velmora {

/// @param address IPv4 in host byte order
std::string address_text(std::uint32_t address);

} // namespace velmora
