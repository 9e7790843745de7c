// The index that is kept beside its file, so that a file is scanned once.
#pragma once

#include "file/file_source.h"
#include "index/access_point_index.h"
#include "index/sidecar_format.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace velmora {

/// Of the index of this file.
std::string sidecar_path(const std::string& file_path);

/// Reads the index of a file and holds it against the file: the size, the times of writing, and a few access
/// points, the first and the last among them, which have to stand where the index says. One that does not
/// belong to the file, or cannot be read, is ignored with a line on standard error.
/// @return nothing when there is none to be used; without an extent when the file has grown since, too
std::optional<SidecarContents> load_sidecar(const std::shared_ptr<const FileSource>& source);

/// Writes the index of a file that was scanned to its end, replacing the one there. Small files get none,
/// since they are scanned about as fast as their index is read and checked; nor does a file whose recorder is
/// still writing one.
/// @param covered so much of the file was scanned, bytes
void save_sidecar(const FileSource& source, const AccessPointIndex& index, std::uint64_t covered);

} // namespace velmora
