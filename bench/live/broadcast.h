/*
 * A live stream on its way to a port, with a record of when each picture had left.
 */
#ifndef BENCH_LIVE_BROADCAST_H
#define BENCH_LIVE_BROADCAST_H

#include "live/live_stream.h"
#include "support/stream_sender.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

/** Sends from construction to destruction or the stream's end. */
class Broadcast {
public:
    /** @param from the packet to begin with, bytes */
    Broadcast(const LiveStream& stream, std::uint16_t port, std::size_t from = 0);

    /** When a picture's last packet had been sent, by its place in the order of showing. */
    std::optional<Clock::time_point> departure(std::size_t turn) const;

private:
    void note(std::size_t sent);

    const std::vector<CodedPicture>& m_pictures;
    std::size_t m_from;
    std::size_t m_next = 0; /* picture to leave, of the sender's thread */
    mutable std::mutex m_mutex;
    std::vector<std::optional<Clock::time_point>> m_departures; /* by turn */
    StreamSender m_sender;
};

#endif
