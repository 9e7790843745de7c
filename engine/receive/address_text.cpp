#include "receive/address_text.h"

#include <arpa/inet.h>
#include <array>

namespace velmora {

std::string address_text(std::uint32_t address) {
    const in_addr network_order{.s_addr = htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &network_order, text.data(), text.size());
    return text.data();
}

} // namespace velmora
