// File names that travel as Latin-1.
#pragma once

#include <string>
#include <string_view>

namespace velmora {

/// The same characters in UTF-8.
std::string latin1_to_utf8(std::string_view latin1);

} // namespace velmora
