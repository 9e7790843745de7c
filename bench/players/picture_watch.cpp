#include "players/picture_watch.h"

#include <thread>
#include <utility>

namespace {

constexpr auto interval = std::chrono::microseconds(500);

} // namespace

PictureWatch::PictureWatch(const Framebuffer& framebuffer, Desktop& desktop, Stream stream)
    : m_framebuffer(framebuffer), m_desktop(desktop), m_stream(std::move(stream)) {}

/** The number of the stream's picture that is on the screen now; nothing when none is. */
std::optional<std::uint32_t> PictureWatch::look() {
    return m_place ? read(*m_place) : locate();
}

std::optional<std::uint32_t> PictureWatch::read(const Rectangle& place) const {
    const auto number = pattern::read_number(m_framebuffer.view(place));
    if (!number || *number < m_stream.first || *number - m_stream.first >= m_stream.count) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::uint32_t> PictureWatch::locate() {
    // Somewhere in the middle of the largest window; the pattern is read in a band of offsets, whose middle
    // is the place.
    const Rectangle window = m_desktop.largest_window();
    constexpr int step = 3;
    std::optional<std::uint32_t> number;
    Rectangle first_match;
    Rectangle last_match;
    Rectangle place{.x = window.x + (window.width - m_stream.width) / 2,
                    .y = window.y,
                    .width = m_stream.width,
                    .height = m_stream.height};
    for (; place.y + place.height <= window.y + window.height + step; place.y += step) {
        if (const auto found = read(place)) {
            first_match = number ? first_match : place;
            last_match = place;
            number = found;
        }
    }
    if (number) {
        first_match.y = (first_match.y + last_match.y) / 2;
        m_place = first_match;
    }
    return number;
}

std::optional<Sighting> PictureWatch::wait_for_change(Milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (Clock::now() < end) {
        if (const auto number = look(); number && number != m_last) {
            m_last = number;
            return Sighting{.number = *number, .when = Clock::now()};
        }
        std::this_thread::sleep_for(interval);
    }
    return std::nullopt;
}

std::vector<Sighting> PictureWatch::watch_to_end(Milliseconds patience) {
    std::vector<Sighting> seen;
    while (const auto sighting = wait_for_change(patience)) {
        seen.push_back(*sighting);
        if (sighting->number == m_stream.first + m_stream.count - 1) {
            break;
        }
    }
    return seen;
}

std::vector<Sighting> PictureWatch::watch_for(Milliseconds duration) {
    std::vector<Sighting> seen;
    const auto end = Clock::now() + duration;
    while (const auto sighting = wait_for_change(end - Clock::now())) {
        seen.push_back(*sighting);
    }
    return seen;
}
