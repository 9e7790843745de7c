#include "tracks/stream_facts.h"

#include <algorithm>

namespace velmora {

namespace {

/// A decoder that was begun anew counts from 0.
std::uint64_t since(std::uint64_t count, std::uint64_t baseline) {
    return count - std::min(count, baseline);
}

} // namespace

StreamCounters operator-(const StreamCounters& counters, const StreamCounters& baseline) {
    return {.decoded_pictures = since(counters.decoded_pictures, baseline.decoded_pictures),
            .shown_pictures = since(counters.shown_pictures, baseline.shown_pictures),
            .errors = since(counters.errors, baseline.errors),
            .data_units = since(counters.data_units, baseline.data_units)};
}

} // namespace velmora
