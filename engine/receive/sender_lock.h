// Keeps to one sender where several send to the same port.
#pragma once

#include "media/timeline.h"

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
    /// Another sender may take over when the one before has been silent for longer.
    static constexpr std::chrono::seconds silence{1};

    enum class Verdict { current, took_over, stranger };

    /// Judges the sender of a datagram; the first one takes over at once.
    Verdict check(Sender sender, SteadyTime now) {
        const bool is_current = current_ == sender;
        if (!is_current && current_ && now - last_ <= silence) {
            return Verdict::stranger;
        }
        current_ = sender;
        last_ = now;
        return is_current ? Verdict::current : Verdict::took_over;
    }

private:
    std::optional<Sender> current_;
    SteadyTime last_;
};

} // namespace velmora
