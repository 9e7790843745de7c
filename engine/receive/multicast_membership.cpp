#include "receive/multicast_membership.h"

#include "diagnostics/log.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <ifaddrs.h>
#include <iterator>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <utility>

namespace velmora {

namespace {

/// Indices of the interfaces that are up and can multicast. The loopback can, though it does not say so.
std::set<unsigned> multicast_interfaces() {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return {};
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner{list, ::freeifaddrs};
    std::set<unsigned> interfaces;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        const bool is_up = (entry->ifa_flags & IFF_UP) != 0;
        const bool can_multicast = (entry->ifa_flags & (IFF_MULTICAST | IFF_LOOPBACK)) != 0;
        const unsigned index = is_up && can_multicast ? ::if_nametoindex(entry->ifa_name) : 0;
        if (index != 0) {
            interfaces.insert(index);
        }
    }
    return interfaces;
}

} // namespace

void MulticastMembership::refresh() {
    const std::set<unsigned> present = multicast_interfaces();
    for (const unsigned index : std::exchange(joined_, {})) {
        if (present.contains(index)) {
            joined_.insert(index);
        } else {
            change(IP_DROP_MEMBERSHIP, index);
        }
    }
    for (const unsigned index : present) {
        if (joined_.contains(index)) {
            continue;
        }
        if (change(IP_ADD_MEMBERSHIP, index)) {
            joined_.insert(index);
        } else {
            log_incident("live", "join",
                         "cannot join the group on interface " + std::to_string(index) + ": " +
                             std::generic_category().message(errno));
        }
    }
}

bool MulticastMembership::change(int option, unsigned interface_index) const {
    ip_mreqn request{};
    request.imr_multiaddr.s_addr = htonl(group_);
    request.imr_ifindex = static_cast<int>(interface_index);
    return ::setsockopt(socket_, IPPROTO_IP, option, &request, sizeof request) == 0;
}

} // namespace velmora
