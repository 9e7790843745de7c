#include "data/data_outlet.h"

#include <limits>
#include <netinet/in.h>
#include <utility>

namespace velmora {

void DataOutlet::set(const data_setup_t& setup) {
    DataTargets targets;
    const bool is_port = setup.port > 0 && setup.port <= std::numeric_limits<std::uint16_t>::max();
    if (setup.is_send_by_eth != 0 && setup.ip == INADDR_BROADCAST) {
        messages_.post(MessageBoard::Severity::error, "data", "address",
                       "Data is not sent: its target is no address");
    } else if (setup.is_send_by_eth != 0 && setup.ip != 0 && is_port) {
        targets.address = DataTargets::Address{setup.ip, static_cast<std::uint16_t>(setup.port)};
    }
    if (setup.is_save_by_file != 0 && setup.file_name != nullptr && *setup.file_name != '\0') {
        targets.latin1_file = setup.file_name;
    }
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
