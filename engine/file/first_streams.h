// What of a file is played from its very beginning.
#pragma once

#include "ts/stream_selection.h"

#include <memory>

namespace velmora {

class FileSource;

/// Looks at no more of the file than it takes to choose a programme: where every programme that the tables
/// name is there, its first packets; where they name others, its first megabytes.
/// @return nothing where whoever reads the file in order chooses in time, or there is nothing to choose
std::shared_ptr<const StreamSelection> find_first_streams(const FileSource& source);

} // namespace velmora
