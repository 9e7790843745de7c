// Texts as the contract's records hold them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora {

/// One line of valid UTF-8 for a user: bytes that are none are taken for Latin-1, as file names may be, and
/// what would begin a new line or move the cursor becomes a space.
/// @param room bytes; a longer text ends with "…", no character is cut in two
std::string message_text(std::string_view text, std::size_t room);

} // namespace velmora
