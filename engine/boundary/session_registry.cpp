#include "boundary/session_registry.h"

namespace velmora {

velmora_handle_t SessionRegistry::open() {
    auto session = std::make_shared<OpenSession>(time_);
    const std::lock_guard lock{mutex_};
    sessions_.emplace(++last_handle_, std::move(session));
    return last_handle_;
}

std::shared_ptr<OpenSession> SessionRegistry::find(velmora_handle_t handle) const {
    const std::lock_guard lock{mutex_};
    const auto entry = sessions_.find(handle);
    return entry == sessions_.end() ? nullptr : entry->second;
}

std::shared_ptr<OpenSession> SessionRegistry::remove(velmora_handle_t handle) {
    const std::lock_guard lock{mutex_};
    auto node = sessions_.extract(handle);
    return node.empty() ? nullptr : std::move(node.mapped());
}

} // namespace velmora
