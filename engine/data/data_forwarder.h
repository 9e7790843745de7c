// Sends the data of a stream on: to a file, to an address, or both.
#pragma once

#include "media/file_descriptor.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace velmora {

struct DataTargets {
    /// Where datagrams go.
    struct Address {
        std::uint32_t ip{0}; ///< IPv4 in host byte order
        std::uint16_t port{0};
    };

    std::optional<Address> address;
    std::optional<std::string> latin1_file; ///< what comes is put behind what it holds
};

/// Owns the thread that writes and sends, so that a slow disk holds up nobody. Units keep their order.
class DataForwarder {
public:
    explicit DataForwarder(DataTargets targets);
    /// Writes what waits.
    ~DataForwarder();
    DataForwarder(const DataForwarder&) = delete;
    DataForwarder& operator=(const DataForwarder&) = delete;

    /// Never waits; what does not fit into a bounded queue is left out and told. Any thread.
    void put(std::span<const std::uint8_t> unit);

private:
    using Unit = std::vector<std::uint8_t>;

    void run(const std::stop_token& stop);
    void write(const Unit& unit);
    void send(const Unit& unit) const;

    const DataTargets targets_;
    FileDescriptor file_; ///< of the thread
    FileDescriptor socket_;
    std::mutex mutex_;
    std::condition_variable_any changed_;
    // Protected by mutex_:
    std::deque<Unit> units_;
    std::size_t bytes_{0};

    std::jthread thread_; ///< last, so that it ends first
};

} // namespace velmora
