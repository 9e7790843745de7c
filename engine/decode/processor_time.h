// What work costs the thread that does it.
#pragma once

#include <chrono>
#include <functional>

namespace velmora {

/// A reading that grows by what the calling thread's work costs, seconds.
using CostClock = std::function<std::chrono::duration<double>()>;

/// Processor time of the calling thread.
std::chrono::duration<double> processor_time();

} // namespace velmora
