#include "support/live_sim.h"

#include <memory>
#include <utility>

namespace velmora::test {

LiveSim::LiveSim(Arrivals arrivals, std::chrono::milliseconds sync_delay)
    : view_{sync_delay,
            {.name = "the simulation"},
            time_,
            messages_,
            {.clock_changed = [this] { presenter_.wake(); },
             .discard_sound = [this] { ear_.discard(); },
             .on_data = nullptr}},
      ear_{time_, view_.sounds(), view_.sound_clock()}, network_{time_,
                                                                 [this, arrivals = std::move(arrivals)](
                                                                     const std::stop_token& stop) {
                                                                     receive(arrivals, stop);
                                                                 }} {
    presenter_.set_overlay([this](const RgbPicture& picture) { screen_.take(picture); });
    view_.pictures()->pictures.set_on_item([this] { presenter_.wake(); });
    presenter_.attach(view_.pictures());
    view_.set_shown(true);
}

LiveSim::~LiveSim() {
    network_.end();
    view_.pictures()->pictures.set_on_item(nullptr);
    presenter_.detach(*view_.pictures());
}

/// As one who reads a socket: what waits there is one block.
void LiveSim::receive(const Arrivals& arrivals, const std::stop_token& stop) {
    const auto signal = time_.make_signal();
    const auto due = [this](const Arrival& arrival) {
        return begin_ + std::chrono::round<SteadyClock::duration>(arrival.at);
    };
    for (auto next = arrivals.begin(); next != arrivals.end() && !stop.stop_requested();) {
        if (due(*next) > time_.now()) {
            signal->wait(stop, due(*next));
            continue;
        }
        auto block = std::make_shared<PacketBlock>();
        block->arrived = time_.now();
        for (; next != arrivals.end() && due(*next) <= block->arrived; ++next) {
            block->bytes.insert(block->bytes.end(), next->packets.begin(), next->packets.end());
        }
        view_.feed(std::move(block));
    }
}

} // namespace velmora::test
