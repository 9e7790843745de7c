// Changes of finished transport streams into what no muxer at hand makes: packets of 188 bytes, H.264.
#pragma once

#include "scratch_files.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

/// The stream without the delimiters between its pictures.
Bytes without_delimiters(const Bytes& stream);

/// The stream with its clock in packets of their own instead of with the pictures.
Bytes with_clock_apart(const Bytes& stream);

/// The stream with only as many clock references as lie so far apart.
Bytes with_rare_clock(const Bytes& stream, std::chrono::seconds apart);

/// The stream with another stream_type for a PID in its map.
Bytes with_stream_type(const Bytes& stream, unsigned pid, unsigned type);

/// The stream with four programmes in its PAT, in front of its own, of which nothing is there.
Bytes with_absent_programmes(const Bytes& stream);

/// The stream with the length of each picture's PES packet as muxers write it that do not know of its limit:
/// of one that is too long what remains of it.
Bytes with_overflowing_lengths(const Bytes& stream);

/// Which packets of a PID are meant, by their place in the stream, 0 to 1.
using Part = std::function<bool(double place)>;

/// The packets of a PID made unreadable and marked as scrambled.
Bytes scrambled(const Bytes& stream, unsigned pid, const Part& part);

/// The stream without packets of a PID, which the map goes on to name.
Bytes without_packets(const Bytes& stream, unsigned pid, const Part& part);

/// Where the packets are with which a picture begins, bytes.
std::vector<std::size_t> picture_starts(const Bytes& stream);
