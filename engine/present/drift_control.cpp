#include "present/drift_control.h"

#include <algorithm>

namespace velmora {

namespace {

// Critically damped: the offset of a device that is 1 % wrong stays below 15 ms and is gone after some 10 s.
constexpr double proportional = 0.5; // share per second of offset
constexpr double integral = 0.0625;  // share per second of offset and second

} // namespace

double DriftControl::update(Seconds offset, Seconds elapsed) {
    integral_ = std::clamp(integral_ + integral * offset.count() * elapsed.count(), -largest_stretch,
                           largest_stretch);
    return std::clamp(proportional * offset.count() + integral_, -largest_stretch, largest_stretch);
}

} // namespace velmora
