/*
 * Sends a transport stream over UDP or RTP, and damages it on its way as a network might.
 */
#ifndef TESTS_SUPPORT_STREAM_SENDER_H
#define TESTS_SUPPORT_STREAM_SENDER_H

#include "support/lossy_wire.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

/** How a stream is sent. */
struct SendRecipe {
    WireTarget target;
    int packets_per_datagram = 7;
    std::vector<std::uint8_t> in_front{}; /* of every datagram's packets */
    std::vector<std::uint8_t> behind{};   /* every datagram's packets */
    bool rtp = false;
    std::uint16_t first_sequence = 0;
    std::uint32_t ssrc = 1;
    std::optional<double> bytes_per_second{}; /* nothing: as PCR asks; infinity: as the socket takes them */
    bool loops = false;     /* begins again at the end, with the same time stamps and counters */
    LossyWire::Fate fate{}; /* called on the sender's thread; nothing: all arrives */
    /** Called on the sender's thread: the stream was sent up to here, counted across loops. */
    std::function<void(std::size_t bytes)> on_progress{};
};

/** What was really sent. */
struct SendTruth {
    std::uint64_t datagrams = 0; /* put on the wire, repetitions not counted */
    std::uint64_t repeated = 0;  /* repetitions put on the wire */
    std::uint64_t lost = 0;      /* never put on the wire */
    std::uint64_t bytes = 0;     /* of packets in `datagrams` */
};

/** Sends from construction to destruction, on its own thread. */
class StreamSender {
public:
    /** @param stream packets of 188 bytes */
    StreamSender(std::vector<std::uint8_t> stream, SendRecipe recipe);

    /** Sends nothing until resume(), which goes on where it stopped. */
    void pause();
    void resume();
    /** Waits for the end of a stream that does not loop. */
    void wait() const;
    bool finished() const;
    SendTruth truth() const;

private:
    void run(const std::stop_token& stop);
    bool wait_until_due(std::chrono::nanoseconds due, const std::stop_token& stop);
    /** @return bytes of packets sent */
    std::size_t send(std::size_t first_packet, std::chrono::nanoseconds due);
    void set_paused(bool paused);

    const std::vector<std::uint8_t> stream_;
    const SendRecipe recipe_;
    /* of the sender's thread */
    LossyWire wire_;
    std::chrono::steady_clock::time_point start_;
    std::uint64_t number_{0};
    /* shared */
    mutable std::mutex mutex_;
    mutable std::condition_variable_any changed_;
    SendTruth truth_;
    bool paused_{false};
    bool finished_{false};
    std::jthread thread_;
};

#endif
