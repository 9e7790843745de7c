/*
 * Reads from the screen which picture of a stream is shown.
 */
#ifndef BENCH_PLAYERS_PICTURE_WATCH_H
#define BENCH_PLAYERS_PICTURE_WATCH_H

#include "players/desktop.h"
#include "players/framebuffer.h"

#include <cstdint>
#include <optional>
#include <set>

/** The numbers of a stream's pictures and the size they are shown at. */
struct Stream {
    std::filesystem::path file;
    std::uint32_t first = 0; /* number of the first picture */
    std::uint32_t count = 0; /* pictures */
    int width = 0;           /* on the screen, pixels */
    int height = 0;          /* on the screen, pixels */
};

class PictureWatch {
public:
    PictureWatch(const Framebuffer& framebuffer, Desktop& desktop, Stream stream);

    /** The number of the stream's picture that is on the screen now; nothing when none is. */
    std::optional<std::uint32_t> look();
    /** Waits for the first picture of the stream and tells when it was there; nothing after `limit`. */
    std::optional<Clock::time_point> wait_for_first(Milliseconds limit);
    /** Looks until the last picture is there or nothing new has come for `patience`; returns the numbers
     * seen. */
    std::set<std::uint32_t> watch(Milliseconds patience);

private:
    std::optional<std::uint32_t> read(const Rectangle& place) const;
    std::optional<std::uint32_t> locate();

    const Framebuffer& m_framebuffer;
    Desktop& m_desktop;
    Stream m_stream;
    std::optional<Rectangle> m_place; /* of the picture on the screen, once found */
};

#endif
