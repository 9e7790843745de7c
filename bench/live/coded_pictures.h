/*
 * Where the pictures of a transport stream lie, and when they are to be shown.
 */
#ifndef BENCH_LIVE_CODED_PICTURES_H
#define BENCH_LIVE_CODED_PICTURES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/** A picture in the order of the stream. */
struct CodedPicture {
    std::size_t begin = 0;   /* of its first packet, bytes */
    std::size_t end = 0;     /* of its last packet, bytes */
    std::uint64_t bytes = 0; /* without packet and PES headers */
    double presentation = 0; /* time stamp, seconds */
    std::size_t turn = 0;    /* place in the order of showing, from 0 on */
    bool is_key = false;     /* marked as a point of random access */
};

/**
 * The pictures of the first video PID, one to a PES packet.
 * @param stream packets of 188 bytes; time stamps that do not wrap
 */
std::vector<CodedPicture> coded_pictures(std::span<const std::uint8_t> stream);

#endif
