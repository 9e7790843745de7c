/*
 * A UDP socket to send with, and what a network may do to datagrams.
 */
#ifndef TESTS_SUPPORT_LOSSY_WIRE_H
#define TESTS_SUPPORT_LOSSY_WIRE_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

/** What becomes of a datagram. */
struct DatagramFate {
    int copies = 1;  /* 0: it is lost */
    int late_by = 0; /* so many later ones overtake it */
};

/** Where datagrams go. */
struct WireTarget {
    std::uint32_t address =
        0x7F000001; /* IPv4 in host byte order; a group is sent to over the source's interface */
    std::uint16_t port = 0;
    int ports = 1;            /* datagrams go to this many ports from `port` on, in turn */
    std::uint32_t source = 0; /* address to send from (all of 127.0.0.0/8 are there); 0: the system's choice,
                                 the loopback for groups */
};

class LossyWire {
public:
    /** Asked for each datagram, by its number from 0 on. */
    using Fate = std::function<DatagramFate(std::uint64_t datagram)>;

    /** Throws std::runtime_error when the source address is not this machine's. */
    LossyWire(const WireTarget& target, Fate fate);
    ~LossyWire();
    LossyWire(const LossyWire&) = delete;
    LossyWire& operator=(const LossyWire&) = delete;

    /** Sends the next datagram, and what was to come behind it.
     *  @return what became of it */
    DatagramFate put(std::vector<std::uint8_t> datagram);
    /** Sends all that is late. */
    void flush();

private:
    struct Late {
        std::uint64_t due; /* behind this datagram */
        std::uint64_t number;
        int copies;
        std::vector<std::uint8_t> datagram;
    };

    void send(std::span<const std::uint8_t> datagram, std::uint64_t number, int copies) const;
    void send_late(std::uint64_t due);

    WireTarget target_;
    Fate fate_;
    int socket_;
    std::vector<Late> late_;
    std::uint64_t count_{0};
};

#endif
