// Changes of the clock and the time stamps of finished transport streams.
#pragma once

#include "scratch_files.h"

#include <cstdint>

/// What of the time in a stream is changed.
enum class TimeKind { clock, clock_and_stamps };

/// From the middle of the stream on, time is another.
/// @param ticks added, unit 1/90000 s
/// @param is_announced by a discontinuity indicator at the first clock that is another
Bytes with_time_jump(const Bytes& stream, std::int64_t ticks, TimeKind kind, bool is_announced);

/// No clock at all; the map names the null packets' PID for it.
Bytes without_clock(const Bytes& stream);

/// Each clock reference off by up to so much, unit 1/27000000 s.
Bytes with_unsteady_clock(const Bytes& stream, int most);
