// Says when a live view shows nothing new, and why as far as that is known.
#pragma once

#include "diagnostics/message_board.h"
#include "media/timeline.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace velmora {

/// Keeps at most one lasting message: that nothing comes, that what comes is scrambled, or that no picture
/// comes of it. Not thread-safe.
class SignalWatch {
public:
    /// A start without data for less is not worth a word.
    static constexpr std::chrono::milliseconds quiet_start{500};
    /// What is older is not live any more.
    static constexpr std::chrono::seconds live_age{1};
    /// How often to look while the view is shown: a tenth of a second's reading is not noticed late.
    static constexpr std::chrono::milliseconds interval{100};

    struct Source {
        std::string name;                       ///< such as "UDP port 1234"
        std::function<std::string()> trouble{}; ///< why nothing can come; empty where nothing is known
    };
    enum class Content { unknown, no_video, video };
    struct Sight {
        std::optional<SteadyTime> data_since;   ///< when some came first, or again after a silence
        SteadyTime last_data{};                 ///< where some came
        std::optional<SteadyTime> last_picture; ///< shown
        Content content{Content::unknown};
        bool is_scrambled{false};
        std::chrono::nanoseconds picture_interval{0}; ///< 0 = not known
    };

    /// To be called with the time of arrival of what comes.
    static void note_data(Sight& sight, SteadyTime arrived) {
        if (!sight.data_since || arrived - sight.last_data >= live_age) {
            sight.data_since = arrived;
        }
        sight.last_data = arrived;
    }

    SignalWatch(MessageBoard& messages, Source source, SteadyTime now);
    /// Withdraws its message.
    ~SignalWatch();
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

    void look(const Sight& sight, SteadyTime now);
    /// The view is not on the screen: nothing there is old. Times count anew from here.
    void rest(SteadyTime now);
    bool complains() const { return state_.has_value(); }

private:
    using State = MessageBoard::State;
    struct Complaint {
        State state;
        MessageBoard::Severity severity;
        std::string text;
        bool is_logged{false}; ///< by who knows it first
    };

    std::optional<Complaint> judge(const Sight& sight, SteadyTime now) const;
    std::optional<Complaint> judge_silence(const Sight& sight, SteadyTime now) const;
    void withdraw();

    MessageBoard& messages_;
    const Source source_;
    SteadyTime begin_;
    std::optional<State> state_; ///< that lasts
    std::string text_;           ///< of it
};

} // namespace velmora
