/*
 * Sockets of a test: closed at its end, on ports that the system picks.
 */
#ifndef TESTS_GENERAL_LOOPBACK_H
#define TESTS_GENERAL_LOOPBACK_H

#include "general/socket.h"

#include <cstdint>
#include <netinet/in.h>
#include <sys/socket.h>

inline constexpr std::uint32_t loopback = 0x7F000001;

/** Owns a descriptor. */
class Descriptor {
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_descriptor > 0) {
            Socket_Close(m_descriptor);
        }
    }

    operator int() const { return m_descriptor; } // NOLINT(google-explicit-constructor): it is the socket

private:
    int m_descriptor;
};

/** The local port of a socket, host byte order. */
inline std::uint16_t port_of(int socket) {
    sockaddr_in address{};
    socklen_t bytes = sizeof(address);
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &bytes);
    return ntohs(address.sin_port);
}

/** Value of an integer option of a socket. */
inline int option_of(int socket, int level, int option) {
    int value = -1;
    socklen_t bytes = sizeof(value);
    getsockopt(socket, level, option, &value, &bytes);
    return value;
}

#endif
