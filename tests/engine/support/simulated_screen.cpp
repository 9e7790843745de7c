#include "support/simulated_screen.h"

#include "support/block_pattern.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace velmora::test {

namespace {

/// A position is known to 11 us (ISO/IEC 13818-1, 2.4.3.7), and so is when it is due.
constexpr Milliseconds exactness{0.05};

bool are_equal(Milliseconds first, Milliseconds second) {
    return first - second < exactness && second - first < exactness;
}

std::string text(std::int64_t number, Milliseconds at) {
    std::ostringstream text;
    text << number << " at " << at.count() << " ms";
    return text.str();
}

std::int64_t number_of(const ShownPicture& picture) {
    return picture.number ? std::int64_t{*picture.number} : -1;
}

} // namespace

testing::AssertionResult shows(const ShownPictures& shown, const std::vector<EvenPictures>& expected) {
    auto next = shown.begin();
    const auto failure = [&](const std::string& wanted) {
        return testing::AssertionFailure()
               << "instead of " << wanted << " came "
               << (next == shown.end() ? "nothing" : text(number_of(*next), next->at)) << "\nshown were:\n"
               << summary(shown);
    };
    for (const EvenPictures& pictures : expected) {
        const int step = pictures.last < pictures.first ? -pictures.step : pictures.step;
        const int count = (pictures.last - pictures.first) / step + 1;
        for (int i = 0; i < count; ++i, ++next) {
            const int number = pictures.first + i * step;
            const Milliseconds at = pictures.begin + i * pictures.interval;
            if (next == shown.end() || number_of(*next) != number || !are_equal(next->at, at)) {
                return failure(text(number, at));
            }
        }
    }
    return next == shown.end() ? testing::AssertionSuccess() : failure("the end");
}

std::string summary(const ShownPictures& shown) {
    std::ostringstream lines;
    for (std::size_t first = 0; first < shown.size();) {
        std::size_t last = std::min(first + 1, shown.size() - 1);
        const std::int64_t step = number_of(shown[last]) - number_of(shown[first]);
        const Milliseconds interval = shown[last].at - shown[first].at;
        while (last + 1 < shown.size() && number_of(shown[last + 1]) - number_of(shown[last]) == step &&
               are_equal(shown[last + 1].at - shown[last].at, interval)) {
            ++last;
        }
        // Two pictures are no run: the second may begin one.
        last = last == first + 1 && last + 1 < shown.size() ? first : last;
        lines << number_of(shown[first]);
        if (last > first) {
            lines << " to " << number_of(shown[last]) << " by " << step << ", one each " << interval.count()
                  << " ms";
        }
        lines << ", from " << shown[first].at.count() << " ms";
        if (first > 0) {
            lines << " (" << (shown[first].at - shown[first - 1].at).count() << " ms behind the one before)";
        }
        lines << '\n';
        first = last + 1;
    }
    return lines.str();
}

void SimulatedScreen::take(const RgbPicture& picture) {
    shown_.push_back(
        {pattern::read_number({picture.bytes.data(), picture.size.width, picture.size.height, picture.pitch}),
         time_.now() - begin_, picture.size});
}

} // namespace velmora::test
