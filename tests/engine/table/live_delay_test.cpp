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
#include <vector>

namespace {

using namespace std::chrono_literals;

using Moment = std::chrono::steady_clock::time_point;

constexpr std::uint32_t settled = 50; ///< number of the first picture that is looked at
constexpr std::uint32_t last = 120;
constexpr auto interval = 40ms;

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
    std::map<std::uint32_t, Moment> moments() {
        EXPECT_TRUE(engine_.wait_for_info(
            [this](const velmora_info_t& /*info*/) { return engine_.last_number().value_or(0) >= last; }));
        std::map<std::uint32_t, Moment> moments;
        for (const ReceivedPicture& picture : engine_.pictures()) {
            if (picture.number && *picture.number >= settled && *picture.number <= last) {
                moments[*picture.number] = picture.when;
            }
        }
        return moments;
    }

private:
    EngineUnderTest engine_;
    std::optional<StreamSender> sender_;
};

Moment::duration longest_gap(const std::map<std::uint32_t, Moment>& moments) {
    auto longest = Moment::duration::zero();
    for (auto next = std::next(moments.begin()); next != moments.end(); ++next) {
        longest = std::max(longest, next->second - std::prev(next)->second);
    }
    return longest;
}

bool are_all_there(const std::map<std::uint32_t, Moment>& moments) {
    return moments.size() == last - settled + 1;
}

TEST(DelayedLivePace, PicturesComeLaterByTheDelay) {
    constexpr auto delay = 600ms;
    const EngineLibrary library;
    expect_undisturbed([&] {
        DelayedView early{library, 0ms};
        DelayedView late{library, delay};
        const auto soon = early.moments();
        std::vector<Moment::duration> later;
        for (const auto& [number, moment] : late.moments()) {
            if (soon.contains(number)) {
                later.push_back(moment - soon.at(number));
            }
        }
        if (later.empty()) {
            return false;
        }
        std::ranges::sort(later);
        const auto median = later[later.size() / 2];
        return median > delay - interval && median < delay + interval;
    });
}

TEST(DelayedLivePace, WhatWaversWithinTheDelayIsNotSeen) {
    const EngineLibrary library;
    const auto waver = [datagram = 0](std::size_t /*bytes*/) mutable {
        constexpr int in_the_middle = 150;
        if (++datagram == in_the_middle) {
            std::this_thread::sleep_for(300ms); // what is tested, not a wait
        }
    };
    expect_undisturbed([&] {
        const auto moments = DelayedView{library, 500ms, waver}.moments();
        return are_all_there(moments) && longest_gap(moments) < 2 * interval;
    });
    expect_undisturbed([&] { return longest_gap(DelayedView{library, 0ms, waver}.moments()) > 200ms; });
}

} // namespace
