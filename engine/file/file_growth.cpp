#include "file/file_growth.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

/// An answer is as good as new for so long.
constexpr auto freshness = 50ms;
/// Some writers open the file anew for each piece. With the time until somebody looks, an end is told within
/// a second.
constexpr auto reopening = 500ms;
/// How long nothing may come where the system does not know: recorders write every second or two.
constexpr auto patience = 5s;

} // namespace

FileGrowth::FileGrowth(std::shared_ptr<const FileSource> source, SteadyTime now)
    : source_{std::move(source)}, size_{source_->size()},
      written_at_{now - std::max(source_->time_since_writing(), 0ms)} {}

bool FileGrowth::is_growing(SteadyTime now) {
    const std::lock_guard lock{mutex_};
    if (!asked_at_ || now - *asked_at_ >= freshness) {
        answer_ = look(now);
        asked_at_ = now;
    }
    return answer_;
}

bool FileGrowth::look(SteadyTime now) {
    const auto writer = source_->writer();
    const std::uint64_t size = source_->size();
    if (size > std::exchange(size_, size)) {
        written_at_ = now;
        writer_at_ = now;
    }
    if (writer == FileSource::Writer::not_known) {
        return now - written_at_ < patience;
    }
    if (writer == FileSource::Writer::present) {
        writer_at_ = now;
    }
    return writer_at_ && now - *writer_at_ < reopening;
}

} // namespace velmora
