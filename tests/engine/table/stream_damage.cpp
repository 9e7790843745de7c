#include "stream_damage.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t packet_size = 188;

} // namespace

Bytes random_bytes(std::size_t size, std::uint64_t seed) {
    std::mt19937_64 random{seed};
    Bytes bytes(size);
    for (std::size_t i = 0; i + 8 <= size; i += 8) {
        const std::uint64_t value = random();
        std::memcpy(&bytes[i], &value, sizeof value);
    }
    return bytes;
}

void damage(Bytes& bytes, std::mt19937& random, std::size_t piece) {
    const auto any = [&](std::size_t limit) { return static_cast<std::ptrdiff_t>(random() % limit); };
    const auto whole = [&](std::ptrdiff_t value) {
        return value / static_cast<std::ptrdiff_t>(piece) * static_cast<std::ptrdiff_t>(piece);
    };
    for (auto flips = random() % 200; flips > 0; --flips) {
        bytes[static_cast<std::size_t>(any(bytes.size()))] ^= static_cast<std::uint8_t>(1U << random() % 8);
    }
    if (random() % 3 == 0) { // in the tables and headers at the front
        for (auto flips = random() % 20; flips > 0; --flips) {
            bytes[static_cast<std::size_t>(any(packet_size * 20))] = static_cast<std::uint8_t>(random());
        }
    }
    if (random() % 3 == 0) {
        const Bytes junk = random_bytes(random() % 5000 / piece * piece, random());
        bytes.insert(bytes.begin() + whole(any(bytes.size())), junk.begin(), junk.end());
    }
    if (random() % 3 == 0) {
        const auto from = bytes.begin() + whole(any(bytes.size()));
        bytes.erase(from, from + std::min<std::ptrdiff_t>(whole(any(20'000)), bytes.end() - from));
    }
    if (random() % 4 == 0) {
        const std::size_t packets = bytes.size() / packet_size;
        for (auto swaps = random() % 50; swaps > 0; --swaps) {
            const auto from = bytes.begin() + any(packets) * static_cast<std::ptrdiff_t>(packet_size);
            const auto to = bytes.begin() + any(packets) * static_cast<std::ptrdiff_t>(packet_size);
            if (random() % 2 == 0) {
                std::copy_n(Bytes(from, from + packet_size).begin(), packet_size, to);
            } else if (from != to) {
                std::swap_ranges(from, from + packet_size, to);
            }
        }
    }
    if (random() % 3 == 0) {
        bytes.resize(packet_size * 10 +
                     static_cast<std::size_t>(whole(any(bytes.size() - packet_size * 10))));
    }
}
