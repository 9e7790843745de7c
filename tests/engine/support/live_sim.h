// A live stream that is viewed in virtual time: everything from its packets to the screen is real but the
// time.
#pragma once

#include "diagnostics/message_board.h"
#include "live/live_view.h"
#include "present/presenter.h"
#include "support/simulated_ear.h"
#include "support/simulated_screen.h"
#include "support/simulated_sender.h"
#include "support/simulated_time.h"

#include <chrono>
#include <optional>

namespace velmora::test {

/// A view that has the screen, and the network in front of it.
class LiveSim {
public:
    /// @param arrivals from the beginning of the simulation on; what comes while the machine stands still is
    ///                 there when it goes on
    explicit LiveSim(Arrivals arrivals, std::chrono::milliseconds sync_delay = std::chrono::milliseconds{0});
    ~LiveSim();
    LiveSim(const LiveSim&) = delete;
    LiveSim& operator=(const LiveSim&) = delete;

    void run_for(SteadyClock::duration length) { time_.run_for(length); }
    /// The machine stands still from so long after the beginning on.
    void stall(SteadyClock::duration begin, SteadyClock::duration length) {
        time_.stall(begin_ + begin, length);
    }
    StreamReport report() { return view_.report(); }

    SimulatedTime& time() { return time_; }
    const ShownPictures& shown() const { return screen_.shown(); }

private:
    void receive(const Arrivals& arrivals, const std::stop_token& stop);

    SimulatedTime time_;
    const SteadyTime begin_{time_.now()};
    MessageBoard messages_{time_};
    SimulatedScreen screen_{time_};
    Presenter presenter_{time_};
    LiveView view_;
    SimulatedEar ear_;
    Worker network_; ///< last, so that it ends first
};

} // namespace velmora::test
