#include "data/data_forwarder.h"

#include "diagnostics/log.h"
#include "file/latin1.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t largest_datagram = 65'507;
constexpr std::size_t most_waiting = std::size_t{16} << 20U; // bytes
constexpr mode_t file_mode = 0644;

/// A name with characters beyond ASCII exists as it is or, as most do today, in UTF-8.
FileDescriptor open_file(const std::string& latin1) {
    constexpr int flags = O_WRONLY | O_APPEND | O_CLOEXEC;
    FileDescriptor existing{::open(latin1.c_str(), flags)};
    return existing ? std::move(existing)
                    : FileDescriptor{::open(latin1_to_utf8(latin1).c_str(), flags | O_CREAT, file_mode)};
}

} // namespace

DataForwarder::DataForwarder(DataTargets targets) : targets_{std::move(targets)} {
    if (targets_.latin1_file) {
        file_ = open_file(*targets_.latin1_file);
        if (!file_) {
            log_incident("data", "file",
                         *targets_.latin1_file + ": " + std::strerror(errno) + ", data is not written");
        }
    }
    if (targets_.address) {
        socket_ = FileDescriptor{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    }
    thread_ = std::jthread{[this](const std::stop_token& stop) { run(stop); }};
}

DataForwarder::~DataForwarder() = default;

void DataForwarder::put(std::span<const std::uint8_t> unit) {
    {
        const std::lock_guard lock{mutex_};
        if (bytes_ + unit.size() > most_waiting) {
            log_incident("data", "overflow", "the disk is too slow for the data, a unit left out");
            return;
        }
        bytes_ += unit.size();
        units_.emplace_back(unit.begin(), unit.end());
    }
    changed_.notify_one();
}

void DataForwarder::run(const std::stop_token& stop) {
    while (true) {
        std::deque<Unit> units;
        {
            std::unique_lock lock{mutex_};
            changed_.wait(lock, stop, [this] { return !units_.empty(); });
            units.swap(units_);
            bytes_ = 0;
        }
        if (units.empty()) {
            return; // stopped, and nothing waits
        }
        for (const Unit& unit : units) {
            send(unit);
            write(unit);
        }
    }
}

void DataForwarder::write(const Unit& unit) {
    std::span<const std::uint8_t> rest{unit};
    while (file_ && !rest.empty()) {
        const ssize_t written = ::write(file_.get(), rest.data(), rest.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            log_incident("data", "file",
                         *targets_.latin1_file + ": " + std::strerror(errno) + ", no more data is written");
            file_ = FileDescriptor{};
            return;
        }
        rest = rest.subspan(static_cast<std::size_t>(written));
    }
}

/// Nobody listening, or no way there, is no reason to stop: that may change.
void DataForwarder::send(const Unit& unit) const {
    if (!socket_) {
        return;
    }
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_addr.s_addr = htonl(targets_.address->ip);
    target.sin_port = htons(targets_.address->port);
    for (std::size_t at = 0; at < unit.size(); at += largest_datagram) {
        const std::size_t size = std::min(largest_datagram, unit.size() - at);
        if (::sendto(socket_.get(), unit.data() + at, size, 0,
                     reinterpret_cast<const sockaddr*>(&target), // NOLINT: the socket interface
                     sizeof target) < 0 &&
            errno != ECONNREFUSED) {
            log_incident("data", "send", std::string{"a datagram was not sent: "} + std::strerror(errno));
        }
    }
}

} // namespace velmora
