// The screen of a simulation: notes each picture that is delivered, and when.
#pragma once

#include "decode/picture_converter.h"
#include "support/simulated_time.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace velmora::test {

using Milliseconds = std::chrono::duration<double, std::milli>;

/// A picture that was delivered.
struct ShownPicture {
    std::optional<std::uint32_t> number; ///< from its block pattern
    Milliseconds at{0};                  ///< since the simulation began
    PictureSize size;
};
using ShownPictures = std::vector<ShownPicture>;

/// Pictures that follow each other evenly.
struct EvenPictures {
    int first{0};
    int last{0}; ///< less than `first` where they go backward
    Milliseconds begin{0};
    Milliseconds interval{40};
    int step{1};
};

/// Whether these pictures were shown, each at its time, and no others.
testing::AssertionResult shows(const ShownPictures& shown, const std::vector<EvenPictures>& expected);
/// What was shown, as runs of even pictures: one a line, as EvenPictures has it.
std::string summary(const ShownPictures& shown);

/// Takes pictures from a presenter, on its thread.
class SimulatedScreen {
public:
    /// @param time outlives the screen
    explicit SimulatedScreen(const SimulatedTime& time) : time_{time} {}

    /// For Presenter::set_overlay.
    void take(const RgbPicture& picture);

    /// While the presenter sleeps only.
    const ShownPictures& shown() const { return shown_; }
    void forget() { shown_.clear(); }

private:
    const SimulatedTime& time_;
    const SteadyTime begin_{time_.now()};
    ShownPictures shown_;
};

} // namespace velmora::test
