#include "receive/host_lookup.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace velmora {

namespace {

constexpr long look_interval_ns = 20'000'000;

/// What the resolver works on beside us.
struct Lookup {
    explicit Lookup(std::string name) : host{std::move(name)} {
        hints.ai_family = AF_INET;
        hints.ai_socktype = SOCK_STREAM;
        request.ar_name = host.c_str();
        request.ar_request = &hints;
    }
    ~Lookup() {
        if (request.ar_result != nullptr) {
            ::freeaddrinfo(request.ar_result);
        }
    }
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    std::string host;
    addrinfo hints{};
    gaicb request{};
};

/// Lookups that nobody waits for any more: the resolver writes to them when the answer comes.
class GivenUpLookups {
public:
    void add(std::unique_ptr<Lookup> lookup) {
        const std::scoped_lock lock(mutex_);
        std::erase_if(lookups_,
                      [](const auto& given_up) { return ::gai_error(&given_up->request) != EAI_INPROGRESS; });
        lookups_.push_back(std::move(lookup));
    }

private:
    std::mutex mutex_;
    std::vector<std::unique_ptr<Lookup>> lookups_;
};

/// Outlives what ends the process: the resolver may still be at work then.
GivenUpLookups& given_up_lookups() {
    static auto* const lookups = new GivenUpLookups; // NOLINT(cppcoreguidelines-owning-memory)
    return *lookups;
}

} // namespace

std::optional<std::uint32_t> look_up_host(const std::string& host, const std::function<bool()>& is_over) {
    if (in_addr number{}; ::inet_pton(AF_INET, host.c_str(), &number) == 1) {
        return ntohl(number.s_addr);
    }
    auto lookup = std::make_unique<Lookup>(host);
    std::array<gaicb*, 1> requests{&lookup->request};
    if (::getaddrinfo_a(GAI_NOWAIT, requests.data(), 1, nullptr) != 0) {
        return std::nullopt;
    }
    while (::gai_error(&lookup->request) == EAI_INPROGRESS) {
        if (is_over()) {
            if (::gai_cancel(&lookup->request) == EAI_NOTCANCELED) {
                given_up_lookups().add(std::move(lookup));
            }
            return std::nullopt;
        }
        const timespec interval{.tv_sec = 0, .tv_nsec = look_interval_ns};
        ::gai_suspend(requests.data(), 1, &interval);
    }
    if (::gai_error(&lookup->request) != 0 || lookup->request.ar_result == nullptr) {
        return std::nullopt;
    }
    sockaddr_in address{};
    std::memcpy(&address, lookup->request.ar_result->ai_addr, sizeof address);
    return ntohl(address.sin_addr.s_addr);
}

} // namespace velmora
