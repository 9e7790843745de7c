// Says that decoding does not keep up, for as long as pictures are dropped for it.
#pragma once

#include "diagnostics/message_board.h"
#include "media/timeline.h"

#include <chrono>
#include <optional>

namespace velmora {

/// Not thread-safe.
class SlowDecodingReport {
public:
    /// A machine that stood still for a moment drops pictures for less.
    static constexpr std::chrono::seconds worth_a_word{1};
    /// So long without a drop, decoding keeps up again.
    static constexpr std::chrono::seconds settled{2};

    /// @param component as of log_incident
    SlowDecodingReport(MessageBoard& messages, const char* component)
        : messages_{messages}, component_{component} {}
    /// Withdraws its message.
    ~SlowDecodingReport() { withdraw(); }
    SlowDecodingReport(const SlowDecodingReport&) = delete;
    SlowDecodingReport& operator=(const SlowDecodingReport&) = delete;

    /// To be called for each picture, and from time to time.
    /// @param drops pictures are being dropped since decoding is late
    void note(bool drops, SteadyTime now);
    void withdraw();

private:
    struct Span {
        SteadyTime first;
        SteadyTime last;
    };

    MessageBoard& messages_;
    const char* component_;
    std::optional<Span> drops_;
    bool is_said_{false};
};

} // namespace velmora
