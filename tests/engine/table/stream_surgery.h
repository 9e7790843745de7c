// Changes of finished transport streams into what no muxer at hand makes: packets of 188 bytes, H.264.
#pragma once

#include "scratch_files.h"

#include <chrono>

/// The stream without the delimiters between its pictures.
Bytes without_delimiters(const Bytes& stream);

/// The stream with its clock in packets of their own instead of with the pictures.
Bytes with_clock_apart(const Bytes& stream);

/// The stream with only as many clock references as lie so far apart.
Bytes with_rare_clock(const Bytes& stream, std::chrono::seconds apart);
