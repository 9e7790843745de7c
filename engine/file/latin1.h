// File names that travel as Latin-1.
#pragma once

#include <string>
#include <string_view>

namespace velmora {

/// The same characters in UTF-8.
std::string latin1_to_utf8(std::string_view latin1);

/// A path for the user to read, UTF-8; of a long one the end.
std::string shown_path(std::string_view latin1_or_utf8);

} // namespace velmora
