#include "diagnostics/slow_decoding_report.h"

#include <utility>

namespace velmora {

void SlowDecodingReport::note(bool drops, SteadyTime now) {
    if (drops) {
        drops_ = Span{drops_ ? drops_->first : now, now};
        if (!is_said_ && drops_->last - drops_->first >= worth_a_word) {
            is_said_ = true;
            messages_.begin(MessageBoard::State::slow_decoding, MessageBoard::Severity::warning, component_,
                            "Decoding does not keep up: pictures are dropped");
        }
    } else if (drops_ && now - drops_->last >= settled) {
        withdraw();
    }
}

void SlowDecodingReport::withdraw() {
    drops_.reset();
    if (std::exchange(is_said_, false)) {
        messages_.end(MessageBoard::State::slow_decoding);
    }
}

} // namespace velmora
