#include "file/latin1.h"

namespace velmora {

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

} // namespace velmora
