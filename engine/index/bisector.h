// Finds access points of a file that has not been scanned yet.
#pragma once

#include "file/file_source.h"
#include "file/packet_reader.h"
#include "index/access_point_index.h"
#include "media/timeline.h"
#include "ts/stream_selection.h"
#include "ts/stream_timeline.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace velmora {

/// Goes by the time stamps at a few places. That works for a file of one continuous piece only, and whether
/// it is one is judged by these places: a joined recording may pass for one, until it is scanned. Not
/// thread-safe.
class Bisector {
public:
    /// Smaller files are scanned about as fast as this class finds its way, bytes.
    static constexpr std::uint64_t worthwhile = std::uint64_t{64} << 20U;

    /// Reads the file's head and tail and a few places between: some milliseconds.
    explicit Bisector(std::shared_ptr<const FileSource> source);

    /// End of the last picture; nothing when the file does not look like one continuous piece.
    std::optional<Position> end() const { return end_; }
    /// The last access point from which the picture at `target` comes out right, or the first of all.
    /// @return nothing when it is not to be found this way
    std::optional<AccessPoint> find(Position target);

private:
    /// Where a unit of the leading stream begins, and when.
    struct Place {
        std::uint64_t offset{0};
        TimeAnchor anchor; ///< of its decoding time stamp
    };

    bool read_head();
    std::optional<Position> read_tail();
    bool is_continuous(Position end);
    std::optional<Place> first_unit_from(std::uint64_t offset);
    std::uint64_t aligned(std::uint64_t offset) const;
    Place last_place_before(Position target);
    std::optional<AccessPoint> find_in(std::uint64_t begin, std::uint64_t end, Position target);

    std::shared_ptr<const FileSource> source_;
    PacketReader reader_;
    std::uint64_t size_; ///< bytes
    std::shared_ptr<const StreamSelection> streams_;
    Place head_;
    std::optional<Position> end_;
};

} // namespace velmora
