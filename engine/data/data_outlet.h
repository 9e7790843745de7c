// Where the data of whatever is received or played goes.
#pragma once

#include "data/data_forwarder.h"
#include "diagnostics/message_board.h"
#include "velmoraapi.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

namespace velmora {

/// One for a session; its targets may change at any time. Thread-safe.
class DataOutlet {
public:
    /// @param messages told of a target that is none; outlives the outlet
    explicit DataOutlet(MessageBoard& messages) : messages_{messages} {}

    void set(const data_setup_t& setup);
    void put(std::span<const std::uint8_t> unit);

private:
    MessageBoard& messages_;
    std::mutex mutex_;
    std::shared_ptr<DataForwarder> forwarder_; ///< protected by mutex_
};

} // namespace velmora
