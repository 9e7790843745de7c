// What may become of a stream on its way, by chance.
#pragma once

#include "scratch_files.h"

#include <cstddef>
#include <cstdint>
#include <random>

Bytes random_bytes(std::size_t size, std::uint64_t seed);

/// Damages of all kinds: flipped bits, cuts, junk, swapped and repeated packets.
/// @param piece what is cut or put in is a multiple of so many bytes, and so is where
void damage(Bytes& bytes, std::mt19937& random, std::size_t piece);
