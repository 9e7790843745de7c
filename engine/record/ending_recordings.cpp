#include "record/ending_recordings.h"

#include "media/timeline.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto moment = 50ms;
constexpr auto patience_at_the_end = 2s;

} // namespace

EndingRecordings::~EndingRecordings() {
    const SteadyTime until = time_.now() + patience_at_the_end;
    for (const auto& recorder : recorders_) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - time_.now());
        if (!recorder->wait_complete(std::max(left, 0ms))) {
            recorder->give_up();
        }
    }
}

void EndingRecordings::add(std::shared_ptr<Recorder> recorder) {
    if (!recorder) {
        return;
    }
    recorder->finish();
    const bool is_complete = recorder->wait_complete(moment);
    std::vector<std::shared_ptr<Recorder>> complete;
    const std::lock_guard lock{mutex_};
    if (!is_complete) {
        recorders_.push_back(std::move(recorder));
    }
    const auto first = std::partition(recorders_.begin(), recorders_.end(),
                                      [](const auto& one) { return !one->wait_complete(0ms); });
    complete.assign(std::make_move_iterator(first), std::make_move_iterator(recorders_.end()));
    recorders_.erase(first, recorders_.end());
}

} // namespace velmora
