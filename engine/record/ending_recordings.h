// Recordings that were stopped while the disk was not ready.
#pragma once

#include "pacing/time_source.h"
#include "record/recorder.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

namespace velmora {

/// Owns recorders until their files are complete, so that who stops one does not wait for its disk. Any
/// thread.
class EndingRecordings {
public:
    /// @param time outlives it
    explicit EndingRecordings(const TimeSource& time) : time_{time} {}
    /// Gives what is left to write a few seconds, all together, then leaves it out. Only a write that the
    /// disk holds up is waited for longer.
    ~EndingRecordings();
    EndingRecordings(const EndingRecordings&) = delete;
    EndingRecordings& operator=(const EndingRecordings&) = delete;

    /// Finishes the recorder; waits a moment, in which most are complete. Those that were added before and
    /// are complete by now are let go.
    /// @param recorder or nothing
    void add(std::shared_ptr<Recorder> recorder);

private:
    const TimeSource& time_;
    std::mutex mutex_; ///< held for moments only
    std::vector<std::shared_ptr<Recorder>> recorders_;
};

} // namespace velmora
