// Which handle stands for which session.
#pragma once

#include "boundary/contract_info.h"
#include "pacing/real_time.h"
#include "session/session.h"
#include "velmoraapi.h"

#include <map>
#include <memory>
#include <mutex>

namespace velmora {

/// A session, and what the contract has the engine keep for who polls it.
struct OpenSession {
    explicit OpenSession(TimeSource& time) : session{time} {}

    Session session;
    KeptNames names;
};

/// Handles are never used again. Thread-safe.
class SessionRegistry {
public:
    /// @return the new session's handle, never 0
    velmora_handle_t open();
    /// The session of a handle; null when there is none.
    std::shared_ptr<OpenSession> find(velmora_handle_t handle) const;
    /// Takes a session out; null when there is none.
    std::shared_ptr<OpenSession> remove(velmora_handle_t handle);

private:
    RealTime time_;
    mutable std::mutex mutex_;
    std::map<velmora_handle_t, std::shared_ptr<OpenSession>> sessions_;
    velmora_handle_t last_handle_{0};
};

} // namespace velmora
