#include "data/data_outlet.h"

#include <utility>

namespace velmora {

void DataOutlet::set(const DataTargets& targets) {
    std::shared_ptr<DataForwarder> forwarder;
    if (targets.address || targets.latin1_file) {
        forwarder = std::make_shared<DataForwarder>(targets);
    }
    const std::lock_guard lock{mutex_};
    forwarder_.swap(forwarder);
}

void DataOutlet::put(std::span<const std::uint8_t> unit) {
    const std::lock_guard lock{mutex_};
    if (forwarder_) {
        forwarder_->put(unit);
    }
}

} // namespace velmora
