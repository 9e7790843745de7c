// Keeps to one sender where several send to the same port.
#pragma once

#include "media/timeline.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace velmora {

struct Sender {
    std::uint32_t address{0}; ///< IPv4 in host byte order
    std::uint16_t port{0};

    friend bool operator==(const Sender&, const Sender&) = default;
};

class SenderLock {
public:
    /// Another sender takes over when the one before has been silent for ten of its usual distances between
    /// datagrams, as the longest of the last two seconds at most are: senders that send a picture at a time
    /// pause after each.
    static constexpr int distances = 10;
    static constexpr std::chrono::milliseconds longest_silence{300};
    static constexpr std::chrono::seconds period{1};

    enum class Verdict { current, took_over, stranger };

    /// Judges the sender of a datagram; the first one takes over at once.
    /// @param arrived when the datagram reached this machine
    Verdict check(Sender sender, SteadyTime arrived) {
        if (current_ == sender) {
            note_distance(arrived);
            last_ = std::max(last_, arrived);
            return Verdict::current;
        }
        if (current_ && arrived - last_ <= silence()) {
            return Verdict::stranger;
        }
        current_ = sender;
        last_ = period_begin_ = arrived;
        longest_ = {};
        is_known_ = false;
        return Verdict::took_over;
    }

    /// That the present sender may keep before another one takes over.
    SteadyClock::duration silence() const {
        if (!is_known_) {
            return longest_silence;
        }
        return std::min<SteadyClock::duration>(distances * std::max(longest_[0], longest_[1]),
                                               longest_silence);
    }
    const std::optional<Sender>& current() const { return current_; }

private:
    void note_distance(SteadyTime arrived) {
        if (arrived - period_begin_ >= period) {
            longest_ = {SteadyClock::duration{0}, longest_[0]};
            period_begin_ = arrived;
            is_known_ = true;
        }
        longest_[0] = std::max(longest_[0], arrived - last_);
    }

    std::optional<Sender> current_;
    SteadyTime last_{};
    SteadyTime period_begin_{};
    std::array<SteadyClock::duration, 2> longest_{}; ///< distance, of this period and the one before
    bool is_known_{false};                           ///< a whole period was seen
};

} // namespace velmora
