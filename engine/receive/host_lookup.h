// The address of a host by its name, without waiting longer than its caller wants to.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace velmora {

/// @param is_over asked several times a second; the answer is not waited for any longer when it holds
/// @return IPv4 in host byte order; nothing when there is none, or when it was over first
std::optional<std::uint32_t> look_up_host(const std::string& host, const std::function<bool()>& is_over);

} // namespace velmora
