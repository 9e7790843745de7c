#include "boundary/message_text.h"

#include <cstdint>
#include <utility>

namespace velmora {

namespace {

constexpr std::string_view ellipsis = "\u2026";

std::uint8_t byte_at(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<std::uint8_t>(text[at]) : std::uint8_t{0};
}

/// Bytes of the character that begins the text; 0 when it is none (RFC 3629).
std::size_t character_size(std::string_view text) {
    const unsigned first = byte_at(text, 0);
    const unsigned second = byte_at(text, 1);
    const std::size_t size = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    const bool is_overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool is_beyond =
        first > 0xF4 || (first == 0xF4 && second > 0x8F) || (first == 0xED && second > 0x9F);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte_at(text, i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return is_overlong || is_beyond ? 0 : size;
}

/// The first character, and how many bytes of the text it stands for.
std::pair<std::string, std::size_t> first_character(std::string_view text) {
    const std::size_t size = character_size(text);
    const unsigned first = byte_at(text, 0);
    if (size == 0) {
        return {{static_cast<char>(0xC0U | (first >> 6U)), static_cast<char>(0x80U | (first & 0x3FU))}, 1};
    }
    const bool is_control = first < 0x20 || first == 0x7F;
    return {is_control ? " " : std::string{text.substr(0, size)}, size};
}

} // namespace

std::string message_text(std::string_view text, std::size_t room) {
    std::string line;
    std::size_t cut = 0; // where the ellipsis goes if it does not fit
    while (!text.empty()) {
        const auto [character, size] = first_character(text);
        if (line.size() + character.size() > room) {
            return line.substr(0, cut).append(ellipsis);
        }
        line += character;
        text.remove_prefix(size);
        if (line.size() + ellipsis.size() <= room) {
            cut = line.size();
        }
    }
    return line;
}

} // namespace velmora
