/*
 * Ports for tests to receive on.
 */
#ifndef TESTS_SUPPORT_UDP_PORT_H
#define TESTS_SUPPORT_UDP_PORT_H

#include <cstdint>

/** The first of `count` successive UDP ports that nobody uses at the moment, on any address. They lie outside
 * the range from which the system takes the ports of senders. Throws std::runtime_error when there are none.
 */
std::uint16_t free_udp_port(int count = 1);

#endif
