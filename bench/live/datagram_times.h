/*
 * When datagrams reached a port.
 */
#ifndef BENCH_LIVE_DATAGRAM_TIMES_H
#define BENCH_LIVE_DATAGRAM_TIMES_H

#include "players/child_process.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

/** What came, put together. */
struct TimedDatagrams {
    struct Arrival {
        std::size_t begin = 0;         /* of its packets in `bytes` */
        std::chrono::nanoseconds when; /* kernel time, from an arbitrary moment on */
    };
    std::vector<std::uint8_t> bytes;
    std::vector<Arrival> arrivals;
};

/** A port of the loopback; the kernel notes the times, whenever the datagrams are fetched. */
class DatagramTimes {
public:
    DatagramTimes();
    ~DatagramTimes();
    DatagramTimes(const DatagramTimes&) = delete;
    DatagramTimes& operator=(const DatagramTimes&) = delete;

    std::uint16_t port() const { return m_port; }
    /** Fetches what comes for so long. */
    TimedDatagrams collect(Milliseconds duration) const;

private:
    std::uint16_t m_port;
    int m_socket;
};

#endif
