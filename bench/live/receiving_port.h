/*
 * What the system knows of the sockets that receive on a port.
 */
#ifndef BENCH_LIVE_RECEIVING_PORT_H
#define BENCH_LIVE_RECEIVING_PORT_H

#include "players/child_process.h"

#include <cstdint>
#include <optional>

/** Datagrams that came and found no room; nothing while nobody receives on the port. */
std::optional<std::uint64_t> datagrams_dropped(std::uint16_t port);

/** Waits until somebody receives on the port; false after `limit`. */
bool wait_for_receiver(std::uint16_t port, Milliseconds limit);

#endif
