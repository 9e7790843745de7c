#include "general/socket.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int udp_send_buffer_bytes = 0x100000;
constexpr int udp_receive_buffer_bytes = 0x500000;
constexpr int reuse_address = 0x200000;
constexpr int largest_datagram_bytes = 32768;
constexpr int listen_backlog = 6;
constexpr std::int32_t ready_timeout_us = 3000;
constexpr const char* mac_interface = "eth0";

void report_failure() {
    std::perror("setsockopt() failed");
}

sockaddr_in endpoint(std::uint32_t address, std::uint16_t port) {
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    result.sin_addr.s_addr = htonl(address);
    return result;
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}
sockaddr* generic(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

template <typename Value>
bool set_option(int socket, int level, int option, const Value& value) {
    return setsockopt(socket, level, option, &value, sizeof(value)) == 0;
}

bool bind_port(int socket, std::uint16_t port) {
    const sockaddr_in local = endpoint(INADDR_ANY, port);
    return bind(socket, generic(local), sizeof(local)) == 0;
}

bool set_membership(int socket, int option, std::uint32_t group, std::uint32_t interface_address) {
    ip_mreq membership{};
    membership.imr_multiaddr.s_addr = htonl(group);
    membership.imr_interface.s_addr = htonl(interface_address);
    return set_option(socket, IPPROTO_IP, option, membership);
}

/** First IPv4 address of a host; address and port stay 0 when there is none. */
sockaddr_in resolve(const char* host, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0) {
        return endpoint(INADDR_ANY, 0);
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
    sockaddr_in result{};
    std::memcpy(&result, found->ai_addr, sizeof(result));
    result.sin_port = htons(port);
    return result;
}

/** Text of an interface's address, empty unless it is IPv4 or IPv6. */
const char* address_text(const sockaddr& address, std::array<char, INET6_ADDRSTRLEN>& text) {
    if (address.sa_family == AF_INET) {
        const auto& v4 = reinterpret_cast<const sockaddr_in&>(address);
        return inet_ntop(AF_INET, &v4.sin_addr, text.data(), INET6_ADDRSTRLEN);
    }
    if (address.sa_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(address);
        return inet_ntop(AF_INET6, &v6.sin6_addr, text.data(), INET6_ADDRSTRLEN);
    }
    return nullptr;
}

} // namespace

void Socket_Init() {}

void Socket_Term() {}

std::uint32_t Socket_Str2Addr(const char* pc_ip) {
    return ntohl(inet_addr(pc_ip));
}

char* Socket_Addr2Str(std::uint32_t ip, char* buffer) {
    constexpr std::size_t text_bytes = 16;
    std::snprintf(buffer, text_bytes, "%u.%u.%u.%u", ip >> 24U, (ip >> 16U) & 0xFFU, (ip >> 8U) & 0xFFU,
                  ip & 0xFFU);
    return buffer;
}

char* Socket_GetMyAddr(const char* theinterface) {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return nullptr;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    std::array<char, INET6_ADDRSTRLEN> text{};
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || std::strcmp(entry->ifa_name, theinterface) != 0) {
            continue;
        }
        if (const char* found = address_text(*entry->ifa_addr, text); found != nullptr) {
            return strdup(found);
        }
    }
    return nullptr;
}

char* Socket_GetMacAddr(char* buff) {
    constexpr std::size_t text_bytes = 18;
    ifreq request{};
    std::strncpy(request.ifr_name, mac_interface, IFNAMSIZ - 1);
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ioctl(socket, SIOCGIFHWADDR, &request);
    close(socket);
    const auto mac =
        std::bit_cast<std::array<unsigned char, sizeof(sockaddr::sa_data)>>(request.ifr_hwaddr.sa_data);
    std::snprintf(buff, text_bytes, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return buff;
}

int Socket_UDPSocket() {
    Socket_Init();
    const int result = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    set_option(result, SOL_SOCKET, SO_SNDBUF, udp_send_buffer_bytes);
    return result;
}

int Socket_UDPServer(std::uint16_t localPort) {
    Socket_Init();
    const int result = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (!bind_port(result, localPort)) {
        report_failure();
        return 0;
    }
    set_option(result, SOL_SOCKET, SO_RCVBUF, udp_receive_buffer_bytes);
    return result;
}

int Socket_MUDPServer(std::uint32_t groupaddr, std::uint16_t groupPort) {
    Socket_Init();
    const int result = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    const bool joined = set_option(result, SOL_SOCKET, SO_REUSEADDR, reuse_address) &&
                        bind_port(result, groupPort) &&
                        set_membership(result, IP_ADD_MEMBERSHIP, groupaddr, INADDR_ANY);
    if (!joined) {
        report_failure();
        return 0;
    }
    return result;
}

int Socket_TCPServer(std::uint16_t localPort) {
    Socket_Init();
    const int result = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    if (!bind_port(result, localPort) || listen(result, listen_backlog) != 0) {
        report_failure();
        return -1;
    }
    return result;
}

int Socket_TCPClient(const char* foreignAddress, std::uint16_t foreignPort) {
    Socket_Init();
    const int result = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
    const sockaddr_in peer = resolve(foreignAddress, foreignPort);
    if (connect(result, generic(peer), sizeof(peer)) != 0) {
        report_failure();
        return -1;
    }
    return result;
}

int Socket_Accept(int socket) {
    return accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
}

void Socket_Close(int socket) {
    close(socket);
}

int Socket_SendTo(int socket, const void* buff, int bufferLen, std::uint32_t destaddr,
                  std::uint16_t dstport) {
    const sockaddr_in destination = endpoint(destaddr, dstport);
    const auto* bytes = static_cast<const char*>(buff);
    int total = 0;
    while (total < bufferLen) {
        const int chunk = std::min(bufferLen - total, largest_datagram_bytes);
        if (sendto(socket, bytes + total, static_cast<std::size_t>(chunk), 0, generic(destination),
                   sizeof(destination)) != chunk) {
            break;
        }
        total += chunk;
    }
    return total;
}

int Socket_ReceiveFrom(int socket, void* buff, int bufferLen, std::uint32_t* srcddr, std::uint16_t* srcport) {
    sockaddr_in sender{};
    socklen_t sender_bytes = sizeof(sender);
    const auto received =
        recvfrom(socket, buff, static_cast<std::size_t>(bufferLen), 0, generic(sender), &sender_bytes);
    *srcddr = ntohl(sender.sin_addr.s_addr);
    *srcport = ntohs(sender.sin_port);
    return static_cast<int>(received);
}

int Socket_Send(int socket, const void* buffer, int bufferLen) {
    return send(socket, buffer, static_cast<std::size_t>(bufferLen), 0) < 0 ? -1 : 0;
}

int Socket_Recv(int socket, void* buffer, int bufferLen) {
    return static_cast<int>(recv(socket, buffer, static_cast<std::size_t>(bufferLen), 0));
}

int Socket_IsRxPacket(int socket) {
    return Socket_IsRxPacketUS(socket, ready_timeout_us);
}

int Socket_IsRxPacketUS(int socket, std::int32_t us) {
    // ppoll knows no highest descriptor, unlike select.
    pollfd readable{.fd = socket, .events = POLLIN, .revents = 0};
    const timespec timeout{.tv_sec = us / 1'000'000, .tv_nsec = (us % 1'000'000) * 1000L};
    const int ready = ppoll(&readable, 1, &timeout, nullptr);
    return ready > 0 && (readable.revents & POLLNVAL) != 0 ? -1 : ready;
}

int Socket_GetForeignAddress(int socket, char* address) {
    sockaddr_in peer{};
    socklen_t peer_bytes = sizeof(peer);
    if (getpeername(socket, generic(peer), &peer_bytes) != 0) {
        report_failure();
        return -1;
    }
    Socket_Addr2Str(ntohl(peer.sin_addr.s_addr), address);
    return 0;
}

int Socket_SetMulticast(int Socket, int ttl, int isloop, std::uint32_t interface_ip) {
    in_addr outgoing{};
    outgoing.s_addr = htonl(interface_ip);
    set_option(Socket, IPPROTO_IP, IP_MULTICAST_IF, outgoing);
    set_option(Socket, IPPROTO_IP, IP_MULTICAST_TTL, static_cast<unsigned char>(ttl));
    set_option(Socket, IPPROTO_IP, IP_MULTICAST_LOOP, static_cast<unsigned char>(isloop));
    return 0;
}

int Socket_JoinMulticast(int /*Socket*/, std::uint32_t /*group_ip*/, std::uint32_t /*interface_ip*/) {
    return 0;
}

int Socket_RemoveMulticast(int /*Socket*/) {
    return 0;
}

int Socket_LeaveMulticast(int Socket, std::uint32_t group_ip, std::uint32_t interface_ip) {
    if (!set_membership(Socket, IP_DROP_MEMBERSHIP, group_ip, interface_ip)) {
        report_failure();
        return -1;
    }
    return 0;
}

int Socket_MulticastServer(int socket, std::uint32_t groupaddr) {
    if (!set_membership(socket, IP_ADD_MEMBERSHIP, groupaddr, INADDR_ANY)) {
        report_failure();
        return 0;
    }
    return socket;
}
