// What a poll reads, as the contract's records.
#pragma once

#include "session/session_report.h"
#include "velmoraapi.h"

#include <mutex>
#include <set>
#include <string>

namespace velmora {

/// Names of files whose characters are valid as long as this is. Thread-safe.
class KeptNames {
public:
    /// @return the name's characters; nobody may write through it
    char* keep(const std::string& name);

private:
    std::mutex mutex_;
    std::set<std::string> names_; ///< protected by mutex_
};

/// @param names keeps the name of the recording for who reads it later
velmora_info_t info_of(const SessionReport& report, KeptNames& names);

} // namespace velmora
