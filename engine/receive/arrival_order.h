// Puts the datagrams of several sockets into the order of their arrival.
#pragma once

#include "receive/udp_socket.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <queue>
#include <vector>

namespace velmora {

/// The sockets are read one after the other, so that what one has been read for may have come before what
/// another has already given: each datagram waits for a moment, then goes by the kernel's time stamp.
class ArrivalOrder {
public:
    static constexpr std::chrono::milliseconds wait{2};

    using Sink = std::function<void(std::span<const std::uint8_t> payload)>;

    void add(const Datagram& datagram);
    /// Hands on what has waited.
    /// @param now by the system's clock
    void release(std::chrono::nanoseconds now, const Sink& sink);
    bool is_empty() const { return waiting_.empty(); }

private:
    struct Waiting {
        std::chrono::nanoseconds stamp;
        std::uint64_t number; ///< keeps the order within a socket where stamps are equal
        std::vector<std::uint8_t> payload;

        friend bool operator>(const Waiting& left, const Waiting& right) {
            return std::pair{left.stamp, left.number} > std::pair{right.stamp, right.number};
        }
    };

    std::priority_queue<Waiting, std::vector<Waiting>, std::greater<>> waiting_;
    std::uint64_t count_{0};
};

} // namespace velmora
