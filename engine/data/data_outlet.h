// Where the data of whatever is received or played goes.
#pragma once

#include "data/data_forwarder.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>

namespace velmora {

/// One for a session; its targets may change at any time. Thread-safe.
class DataOutlet {
public:
    /// Without a target what comes is dropped.
    void set(const DataTargets& targets);
    void put(std::span<const std::uint8_t> unit);

private:
    std::mutex mutex_;
    std::shared_ptr<DataForwarder> forwarder_; ///< protected by mutex_
};

} // namespace velmora
