// The bytes of an index that is kept beside its file.
#pragma once

#include "index/access_point_index.h"
#include "media/timeline.h"

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

namespace velmora {

/// Why bytes are no index that can be used; what() is the end of a sentence.
class UnusableSidecar : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What is known when the whole file has been looked at.
struct SidecarExtent {
    std::uint64_t covered{0}; ///< size of the file then, bytes
    Position end;             ///< of the last picture
    Position last_picture;
};

struct SidecarContents {
    std::vector<AccessPoint> points;     ///< in file order
    std::optional<SidecarExtent> extent; ///< nothing: its writer has not finished
    bool is_damaged{false};              ///< only what stands in front of the damage is here
};

/// Makes the records of an index, each to be appended to those before.
///
/// The format: "VELMIDX", a version byte and a check make the header. A record is a byte that tells its kind
/// and which fields follow, the fields as variable-length numbers (7 bits a byte, lowest first), relative to
/// the record before where that makes them small, and a check. A check is the lower half of the CRC-32 of all
/// bytes up to there, earlier checks left out: damage shows in the damaged record and in every later one.
/// Kinds: an access point (some 8 to 10 bytes), the streams in force from the next access point on, and the
/// extent, which is the last record of a finished index.
class SidecarEncoder {
public:
    /// Begins with the header.
    SidecarEncoder();

    /// @param point behind those added before
    void add(const AccessPoint& point);
    void add(const SidecarExtent& extent);
    /// What was made since the last call.
    std::vector<std::uint8_t> take();

private:
    void add(const StreamSelection& streams);
    void put(std::uint64_t number);
    void put_signed(std::int64_t number);
    void put_check();

    std::vector<std::uint8_t> bytes_;
    std::size_t checked_{0}; ///< so many of bytes_ stand in front of the last check
    std::uint32_t crc_;
    AccessPoint last_;
};

/// Reads as far as the records are sound; an unfinished last one is left out.
/// @throws UnusableSidecar when the header is not one of ours
SidecarContents decode_sidecar(std::span<const std::uint8_t> bytes);

} // namespace velmora
