#include "file/file_growth.h"

#include <chrono>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 900ms;

} // namespace

FileGrowth::FileGrowth(std::shared_ptr<const FileSource> source)
    : source_{std::move(source)}, size_{source_->size()}, grown_at_{SteadyClock::now() -
                                                                    source_->time_since_writing()} {}

bool FileGrowth::is_growing(SteadyTime now) {
    const std::uint64_t size = source_->size();
    if (size > size_) {
        grown_at_ = now;
    }
    size_ = size;
    return now - grown_at_ < patience;
}

} // namespace velmora
