// Membership of a socket in a multicast group, on every interface that can have it.
#pragma once

#include <cstdint>
#include <set>

namespace velmora {

class MulticastMembership {
public:
    /// @param socket outlives this object and leaves the group when it is closed
    /// @param group IPv4 in host byte order
    MulticastMembership(int socket, std::uint32_t group) : socket_{socket}, group_{group} {}

    /// Joins on interfaces that came up, the loopback among them, and leaves those that went down. To be
    /// called about once a second; does not wait.
    void refresh();

private:
    bool change(int option, unsigned interface_index) const;

    int socket_;
    std::uint32_t group_;
    std::set<unsigned> joined_; ///< interface indices
};

} // namespace velmora
