// The machine's own clocks and threads.
#pragma once

#include "pacing/time_source.h"

namespace velmora {

/// The steady clock, processor time as the system counts it for each thread, and the system's threads.
class RealTime : public TimeSource {
public:
    SteadyTime now() const override;
    Seconds measure(const DecodingWork& work, const std::function<void()>& decode) override;
    std::unique_ptr<WakeSignal> make_signal() override;
    std::jthread start(ThreadBody body) override;
    void join(std::jthread& thread) override;
};

} // namespace velmora
