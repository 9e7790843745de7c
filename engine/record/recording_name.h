// Names of recordings.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace velmora {

/// "YYYY-MM-DD_HH-MM-SS.ts" in the machine's local time.
std::string recording_name(std::time_t time);
/// What to call a file whose name is taken: number 2 and up go in front of the extension, as in "name_2.ts";
/// 1 is the name itself.
std::string numbered_name(std::string_view name, int number);

} // namespace velmora
