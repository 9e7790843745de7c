// Receives what the engine sends.
#pragma once

#include "support/udp_port.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

/// A port of the loopback.
class DatagramCollector {
public:
    using Datagrams = std::vector<std::vector<std::uint8_t>>;

    DatagramCollector();
    ~DatagramCollector();
    DatagramCollector(const DatagramCollector&) = delete;
    DatagramCollector& operator=(const DatagramCollector&) = delete;

    std::uint16_t port() const { return port_; }
    /// Waits for so many datagrams; fewer when none comes for that long.
    Datagrams take(std::size_t count, std::chrono::milliseconds longest_gap = std::chrono::seconds{5}) const;

private:
    std::uint16_t port_{free_udp_port()};
    int socket_;
};
