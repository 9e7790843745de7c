#include "live/late_decoding.h"

#include <chrono>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto late = 400ms;
/// Lateness as large leaves no time to see whether it passes.
constexpr auto very_late = 700ms;
constexpr auto lost = 1s;
/// What was late is on time again.
constexpr auto on_time = 250ms;
/// How long lateness may take to show that it passes, and by how much.
constexpr auto chance = 1s;
constexpr auto catching_up = 100ms;

} // namespace

void LateDecoding::observe(SteadyClock::duration behind, SteadyTime now) {
    is_lost_ = behind >= lost;
    if (behind <= on_time) {
        late_.reset();
        leaves_out_ = false;
        return;
    }
    leaves_out_ = leaves_out_ || behind > very_late;
    if (behind <= late) {
        late_.reset();
    } else if (!late_) {
        late_ = Look{now, behind};
    } else if (now - late_->since >= chance) {
        leaves_out_ = leaves_out_ || behind > late_->behind - catching_up;
        late_ = Look{now, behind};
    }
}

} // namespace velmora
