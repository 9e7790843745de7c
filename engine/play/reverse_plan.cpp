#include "play/reverse_plan.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velmora {

namespace {

using namespace std::chrono_literals;
using Seconds = ReversePlan::Seconds;

constexpr std::size_t most_bytes_held = std::size_t{420} << 20U;
constexpr std::size_t most_pictures_held = 512;
constexpr std::size_t least_pictures_held = 12;
constexpr std::size_t assumed_picture_bytes = std::size_t{1920} * 1088 * 3 / 2;
constexpr std::size_t smallest_stretch = 4;
/// Decoding a picture, as long as nothing was measured, and what reading and shrinking it add.
constexpr Seconds assumed_effort = 12ms;
constexpr double effort_beside = 1.25;
/// Pictures on which an estimate of it rests at most.
constexpr double longest_experience = 100.0;
/// A stretch is begun when the pictures held last for so many times its work, and a moment longer.
constexpr double usual_precaution = 1.3;
constexpr Seconds usual_reserve = 300ms;
/// Below this the work is hurried.
constexpr double least_precaution = 1.1;
constexpr Seconds least_reserve = 100ms;
/// How much sooner hurried work is done, and how much at least while pictures are on their way to the screen.
constexpr double hurried_speed = 1.6;
constexpr double least_hurried_speed = 1.3;
/// Share of the time that decoding may take before pictures are left out.
constexpr double affordable_load = 0.9;
/// The rest of the group in which playing turned round, and the whole one in front of it, each in two parts:
/// they may take longer than what is on hand lasts.
constexpr int awaited_stretches = 4;
/// A part of a group that leaves out less is not worth it.
constexpr double nearly_whole = 0.8;
/// What is left out of the stretches that cannot be decoded in time.
constexpr std::array<AVDiscard, 3> thinner{AVDISCARD_DEFAULT, AVDISCARD_NONREF, AVDISCARD_BIDIR};

std::size_t budget_for(std::size_t picture_bytes) {
    const std::size_t bytes = picture_bytes == 0 ? assumed_picture_bytes : picture_bytes;
    return std::clamp(most_bytes_held / bytes, least_pictures_held, most_pictures_held);
}

} // namespace

ReversePlan::ReversePlan(const ReverseStream& stream)
    : unit_{stream.unit}, shares_{stream.shares}, budget_{budget_for(stream.picture_bytes)},
      effort_{stream.effort > Seconds::zero() ? stream.effort * effort_beside : assumed_effort} {}

void ReversePlan::learn(double work, Seconds took) {
    effort_ = (effort_ * experience_ + took) / (experience_ + work);
    experience_ = std::min(experience_ + work, longest_experience);
}

std::optional<ReversePlan::Stretch> ReversePlan::next(const Situation& situation) {
    Stretch stretch{.skip = choose_skip(situation.distance)};
    const double kept = shares_.kept(stretch.skip);
    // The fewest pictures are decoded twice when a stretch reaches back to where its decoding begins: there
    // must be room for that, or at least for half of what may be held.
    const auto whole = std::max(static_cast<std::size_t>(situation.distance * kept), smallest_stretch);
    const std::size_t room = budget_ - std::min(situation.held, budget_);
    const auto in_time = static_cast<std::size_t>(part_in_time(stretch.skip, situation) * kept);
    stretch.pictures = std::min({whole, room, std::max(in_time, smallest_stretch)});
    stretch.covered = static_cast<double>(stretch.pictures) / kept;
    stretch.is_whole = stretch.pictures == whole;
    const Seconds needed = effort_ * work(stretch.skip, situation.distance, stretch.covered);
    if (room < std::min(whole, budget_ / 2) || can_wait(situation, stretch, needed)) {
        return std::nullopt;
    }
    stretch.is_thinned = stretch.skip > shares_.skip_for(magnitude_);
    stretch.is_urgent = situation.lasts < needed * least_precaution + least_reserve;
    stretch.is_awaited = begun_ < awaited_stretches;
    ++begun_;
    return stretch;
}

/// What decoding with this level costs, as a share of decoding everything.
double ReversePlan::cost(AVDiscard skip) const {
    constexpr double of_any_unit = 0.3;
    return of_any_unit + (1.0 - of_any_unit) * shares_.kept(skip);
}

double ReversePlan::work(AVDiscard skip, double distance, double covered) const {
    const double in_front = std::max(distance - covered, 0.0);
    return covered * cost(skip) + in_front * cost(std::max(skip, AVDISCARD_NONREF));
}

/// What the speed leaves out, and what the machine cannot decode in time.
AVDiscard ReversePlan::choose_skip(double distance) const {
    const AVDiscard planned = shares_.skip_for(magnitude_);
    const auto usual_size = static_cast<double>(budget_) / 2;
    const auto is_affordable = [&](AVDiscard level) {
        const AVDiscard skip = std::max(planned, level);
        const double covered = std::min(distance, usual_size / shares_.kept(skip));
        return effort_ / hurried_speed * work(skip, distance, covered) <=
               interval() * covered * affordable_load;
    };
    const auto* const first = std::ranges::find_if(thinner, is_affordable);
    return std::max(planned, first == thinner.end() ? thinner.back() : *first);
}

/// How much of the distance is decoded first, if the whole of it would come too late. What lies in front of
/// that is decoded a second time then.
/// @return pictures of the stream
double ReversePlan::part_in_time(AVDiscard skip, const Situation& situation) const {
    const double whole = situation.distance;
    const double reference = cost(std::max(skip, AVDISCARD_NONREF));
    const double saved = cost(skip) - reference;
    const Seconds each = effort_ / least_hurried_speed;
    if (begun_ >= awaited_stretches || saved <= 0.0 ||
        each * work(skip, whole, whole) <= situation.lasts + caught_up / 2) {
        return whole;
    }
    const double in_time = (situation.lasts / each - whole * reference) / saved;
    // The rest is decoded while this part is shown.
    const Seconds needed = each * cost(skip);
    const double lasting = whole * (needed / (needed + interval()));
    const double part = std::max(in_time, lasting);
    return part < whole * nearly_whole ? part : whole;
}

/// Whether the stretch, and what is in front of it as well, can be begun later.
bool ReversePlan::can_wait(const Situation& situation, const Stretch& stretch, Seconds needed) const {
    if (situation.held == 0) {
        return false; // nothing would be shown in the meantime, and then ask again
    }
    const double rest = situation.distance - stretch.covered;
    const Seconds needed_then = effort_ * cost(stretch.skip) *
                                (stretch.covered < situation.distance ? rest : situation.group_in_front);
    const Seconds lasts_then = situation.lasts - needed + interval() * stretch.covered;
    return situation.lasts > needed * usual_precaution + usual_reserve &&
           lasts_then > needed_then * usual_precaution + usual_reserve;
}

bool ReversePlan::comes_in_time(Seconds late, double distance) const {
    const AVDiscard skip = choose_skip(distance);
    return late + effort_ / hurried_speed * work(skip, distance, distance) <= caught_up;
}

Ticks ReversePlan::end_in_time(Ticks shown) const {
    // While it is decoded the clock goes on as well.
    const double work_per_time = effort_ / hurried_speed / interval();
    return Ticks{std::llround(static_cast<double>(shown.count()) / (1.0 + work_per_time))};
}

} // namespace velmora
