// The buffer of a live view: what it holds comes later by as much, and as evenly as it was sent.
#include "live_under_test.h"
#include "support/undisturbed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;

using Moment = std::chrono::steady_clock::time_point;

constexpr auto interval = 40ms;

/// Pictures that are looked at, by their numbers.
struct Span {
    std::uint32_t first;
    std::uint32_t last;
};

constexpr Span settled{50, 120};

StreamRecipe six_seconds() {
    StreamRecipe recipe = small_live_stream();
    recipe.duration = 6;
    recipe.bframes = 0; // each picture is due as soon as it comes
    return recipe;
}

/// A view and its own sender.
class DelayedView {
public:
    DelayedView(const EngineLibrary& library, std::chrono::milliseconds delay,
                std::function<void(std::size_t bytes)> on_progress = {})
        : engine_{library} {
        SendRecipe recipe = send_to(free_udp_port());
        recipe.on_progress = std::move(on_progress);
        streaming_setup_t setup = live_setup(recipe.target.port);
        setup.sync_delay_ms = static_cast<int>(delay.count());
        EXPECT_EQ(view(engine_, setup), 0);
        sender_.emplace(stream_bytes(six_seconds()), recipe);
    }

    /// When each picture came, by its number, once the last one has.
    std::map<std::uint32_t, Moment> moments(Span span) {
        EXPECT_TRUE(engine_.wait_for_info(
            [&](const velmora_info_t& /*info*/) { return engine_.last_number().value_or(0) >= span.last; }));
        std::map<std::uint32_t, Moment> moments;
        for (const ReceivedPicture& picture : engine_.pictures()) {
            if (picture.number && *picture.number >= span.first && *picture.number <= span.last) {
                moments[*picture.number] = picture.when;
            }
        }
        return moments;
    }

private:
    EngineUnderTest engine_;
    std::optional<StreamSender> sender_;
};

/// When picture 0 would have been shown; the picture that was held up least tells.
Moment origin(const std::map<std::uint32_t, Moment>& moments) {
    auto earliest = Moment::max();
    for (const auto& [number, moment] : moments) {
        earliest = std::min(earliest, moment - number * interval);
    }
    return earliest;
}

/// The longest time that a picture stood.
Moment::duration longest_gap(const std::map<std::uint32_t, Moment>& moments) {
    auto longest = Moment::duration::zero();
    for (auto next = std::next(moments.begin()); next != moments.end(); ++next) {
        longest = std::max(longest, next->second - std::prev(next)->second);
    }
    return longest;
}

TEST(DelayedLivePace, PicturesComeLaterByTheDelay) {
    constexpr auto delay = 600ms;
    const EngineLibrary library;
    expect_undisturbed([&] {
        DelayedView early{library, 0ms};
        DelayedView late{library, delay};
        const auto soon = early.moments(settled);
        const auto later = late.moments(settled);
        if (soon.empty() || later.empty()) {
            return false;
        }
        const auto difference = origin(later) - origin(soon);
        return difference > delay - interval && difference < delay + interval;
    });
}

/// A sender that once stands still and makes up for it.
std::function<void(std::size_t bytes)> hesitation_at(int datagram) {
    return [datagram, sent = 0](std::size_t /*bytes*/) mutable {
        if (++sent == datagram) {
            std::this_thread::sleep_for(300ms); // what is tested, not a wait
        }
    };
}

constexpr int in_the_middle = 150; // of the datagrams

TEST(DelayedLivePace, WhatWaversWithinTheDelayIsNotSeen) {
    const EngineLibrary library;
    expect_undisturbed([&] {
        DelayedView buffered{library, 500ms, hesitation_at(in_the_middle)};
        return longest_gap(buffered.moments(settled)) < 3 * interval;
    });
}

TEST(DelayedLivePace, WithoutADelayWhatWaversIsSeen) {
    const EngineLibrary library;
    expect_undisturbed([&] {
        DelayedView unbuffered{library, 0ms, hesitation_at(in_the_middle)};
        return longest_gap(unbuffered.moments(settled)) > 200ms;
    });
}

TEST(DelayedLivePace, ThreeSecondsAfterAStandstillPicturesAreAsEarlyAsBefore) {
    constexpr int early_on = 60; // behind picture 30
    constexpr Span before{5, 25};
    constexpr Span after{120, 130};
    const EngineLibrary library;
    expect_undisturbed([&] {
        DelayedView unbuffered{library, 0ms, hesitation_at(early_on)};
        const auto late = unbuffered.moments(after);
        const auto early = unbuffered.moments(before);
        return !late.empty() && !early.empty() && origin(late) - origin(early) < 2 * interval;
    });
}

} // namespace
