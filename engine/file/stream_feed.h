// Reads a file and offers the units of its selected streams.
#pragma once

#include "file/file_source.h"
#include "file/packet_reader.h"
#include "index/access_point_index.h"
#include "tracks/unit_sorter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velmora {

/// Pulls packets when units are wanted. Not thread-safe.
class StreamFeed {
public:
    explicit StreamFeed(std::shared_ptr<const FileSource> source);

    /// Whether what is read last may go on: then its units in progress wait for the rest.
    void set_may_grow(std::function<bool()> may_grow) { may_grow_ = std::move(may_grow); }
    /// Reads one block of the file.
    /// @return false when there was nothing to read any more, or nothing yet
    bool read_more();
    /// Goes on at an access point, or at the beginning of the file.
    void seek(const std::optional<AccessPoint>& point);

    UnitSorter& units() { return units_; }
    const UnitSorter& units() const { return units_; }
    /// Everything of the file has been read.
    bool at_end() const { return at_end_; }
    /// Where reading goes on, bytes.
    std::uint64_t offset() const { return reader_.offset(); }

private:
    std::shared_ptr<const StreamSelection> first_streams_;
    PacketReader reader_;
    UnitSorter units_;
    bool at_end_{false};
    std::function<bool()> may_grow_;
};

} // namespace velmora
