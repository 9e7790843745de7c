// Measures a stream's picture rate and bit rate by its own time.
#pragma once

#include "media/timeline.h"

#include <cstdint>
#include <deque>

namespace velmora {

/// Looks back one second of stream time.
class StreamMeter {
public:
    /// @param decode decoding time of a unit of the leading stream
    /// @param offset where it begins in the file, bytes
    void add(Position decode, std::uint64_t offset);
    /// Before a jump: what was measured holds until half a second behind it was seen.
    void restart() { window_.clear(); }

    /// Units per second; 0 until half a second was seen.
    std::int32_t units_per_second() const { return units_per_second_; }
    /// kbit/s of the whole file; 0 until half a second was seen.
    std::int32_t kilobits_per_second() const { return kilobits_per_second_; }

private:
    struct Entry {
        Position decode;
        std::uint64_t offset{0};
    };

    void measure();

    std::deque<Entry> window_;
    std::int32_t units_per_second_{0};
    std::int32_t kilobits_per_second_{0};
};

} // namespace velmora
