#include "play/lateness.h"

#include <algorithm>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr Lateness::Lag late_picture = 100ms;
/// How long pictures may be late with nothing left out: a machine that stood still soon catches up by itself.
constexpr auto grace = 150ms;
/// How long a level may take to show that it catches up, and by how much.
constexpr auto chance = 600ms;
constexpr Lateness::Lag catching_up = 100ms;
/// How long pictures must be on time for references not to be left out any more.
constexpr auto proof = 1s;

} // namespace

void Lateness::reset() {
    *this = Lateness{};
}

void Lateness::observe(Lag behind, SteadyTime now) {
    if (behind <= late_picture) {
        late_.reset();
        if (!on_time_since_) {
            on_time_since_ = now;
        }
        if (level_ == 1 || now - *on_time_since_ >= proof) {
            level_ = 0;
        }
        return;
    }
    on_time_since_.reset();
    if (!late_) {
        late_ = Look{now, behind};
    } else if (level_ == 0 && now - late_->since >= grace) {
        level_ = 1;
        late_ = Look{now, behind};
    } else if (level_ > 0 && now - late_->since >= chance) {
        if (behind > late_->behind - catching_up) {
            level_ = std::min(level_ + 1, levels.size() - 1);
        }
        late_ = Look{now, behind};
    }
}

} // namespace velmora
