// The time that tests give to what they test.
#pragma once

#include "pacing/real_time.h"

namespace velmora {

/// The machine's own.
inline RealTime& real_time() {
    static RealTime time;
    return time;
}

/// Stands still until the test sets it.
struct ManualTime : RealTime {
    SteadyTime now() const override { return time; }

    SteadyTime time{};
};

} // namespace velmora
