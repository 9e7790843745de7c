#include "file/latin1.h"

#include <cstddef>

namespace velmora {

namespace {

constexpr std::size_t longest_shown_path = 160; // bytes: it leaves room for a sentence in a message

bool continues_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

bool is_utf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at]);
        const std::size_t length = first < 0x80   ? 1
                                   : first < 0xC2 ? 0
                                   : first < 0xE0 ? 2
                                   : first < 0xF0 ? 3
                                   : first < 0xF5 ? 4
                                                  : 0;
        if (length == 0 || at + length > text.size()) {
            return false;
        }
        for (std::size_t i = 1; i < length; ++i) {
            if (!continues_character(text[at + i])) {
                return false;
            }
        }
        at += length;
    }
    return true;
}

} // namespace

std::string latin1_to_utf8(std::string_view latin1) {
    std::string utf8;
    for (const char character : latin1) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x80) {
            utf8.push_back(character);
        } else {
            utf8.push_back(static_cast<char>(0xC0U | (code >> 6U)));
            utf8.push_back(static_cast<char>(0x80U | (code & 0x3FU)));
        }
    }
    return utf8;
}

std::string shown_path(std::string_view latin1_or_utf8) {
    std::string path = is_utf8(latin1_or_utf8) ? std::string{latin1_or_utf8} : latin1_to_utf8(latin1_or_utf8);
    if (path.size() <= longest_shown_path) {
        return path;
    }
    std::size_t from = path.size() - longest_shown_path;
    while (continues_character(path[from])) {
        ++from;
    }
    return "\u2026" + path.substr(from);
}

} // namespace velmora
