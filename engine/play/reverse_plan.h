// Which stretch of a file is decoded next to play it backward, and when.
#pragma once

#include "decode/picture_classifier.h"
#include "media/timeline.h"

#include <chrono>
#include <cstddef>
#include <optional>

namespace velmora {

/// What reverse play needs to know of a stream.
struct ReverseStream {
    Ticks unit{3600};             ///< distance of two pictures
    std::size_t picture_bytes{0}; ///< of a decoded one; 0 when not known
    PictureClassShares shares;
    std::chrono::duration<double> effort{0}; ///< decoding a picture, processor time; 0 when not known
};

/// Weighs what decoding takes against how long the pictures on hand last: stretches are decoded as whole as
/// what may be held allows, as late as is safe, and thinner or in parts where they would come too late. Not
/// thread-safe.
class ReversePlan {
public:
    using Seconds = std::chrono::duration<double>;

    /// How things stand.
    struct Situation {
        double distance{1}; ///< pictures of the stream between where decoding begins and the stretch's end
        double group_in_front{0}; ///< pictures of the group in front of that; 0 when not known
        std::size_t held{0};      ///< pictures
        Seconds lasts{0};         ///< how long these last on the screen
    };

    /// What is to be decoded at once.
    struct Stretch {
        AVDiscard skip{AVDISCARD_DEFAULT};
        std::size_t pictures{0}; ///< that come of it, about
        double covered{0};       ///< pictures of the stream that it spans, the last ones of the distance
        bool is_whole{true};     ///< it spans all of the distance
        bool is_urgent{false};   ///< it is due before one thread would have it
        bool is_thinned{false};  ///< more is left out than the speed asks for
        bool is_awaited{false};  ///< nothing may be left out if it comes late
    };

    /// Of the time in which the picture stands for an awaited stretch, what the screen makes up for by
    /// itself.
    static constexpr std::chrono::milliseconds caught_up{600};

    explicit ReversePlan(const ReverseStream& stream);

    /// @param magnitude of the speed, more than 0
    void set_magnitude(double magnitude) { magnitude_ = magnitude; }
    /// How long one of the stream's pictures stands on the screen.
    Seconds interval() const { return Seconds{unit_} / magnitude_; }
    /// @return nothing while the next stretch can wait
    std::optional<Stretch> next(const Situation& situation);
    /// What decoding takes, in pictures.
    /// @param covered pictures of the stream that come out; those in front of them only serve as references
    double work(AVDiscard skip, double distance, double covered) const;
    /// Tells what one thread took for so much work.
    void learn(double work, Seconds took);
    /// Whether the screen makes up for it that a stretch was due so long before it is begun.
    bool comes_in_time(Seconds late, double distance) const;
    /// Where a stretch has to end to be due when it is decoded.
    /// @param shown distance of the clock from where decoding begins
    Ticks end_in_time(Ticks shown) const;

private:
    double cost(AVDiscard skip) const;
    AVDiscard choose_skip(double distance) const;
    double part_in_time(AVDiscard skip, const Situation& situation) const;
    bool can_wait(const Situation& situation, const Stretch& stretch, Seconds needed) const;

    const Ticks unit_;
    const PictureClassShares shares_;
    const std::size_t budget_; ///< pictures that may be held
    double magnitude_{1.0};
    Seconds effort_;          ///< decoding one picture in one thread
    double experience_{25.0}; ///< pictures on which that rests
    int begun_{0};            ///< stretches
};

} // namespace velmora
