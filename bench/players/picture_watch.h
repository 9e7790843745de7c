/*
 * Reads from the screen which picture of a stream is shown.
 */
#ifndef BENCH_PLAYERS_PICTURE_WATCH_H
#define BENCH_PLAYERS_PICTURE_WATCH_H

#include "players/desktop.h"
#include "players/framebuffer.h"
#include "players/numbered_stream.h"
#include "players/sightings.h"

#include <cstdint>
#include <optional>
#include <vector>

class PictureWatch {
public:
    PictureWatch(const Framebuffer& framebuffer, Desktop& desktop, Stream stream);

    /** Waits for a picture of the stream that is not the one seen last; nothing after `limit`. */
    std::optional<Sighting> wait_for_change(Milliseconds limit);
    /** Looks until the last picture is there or nothing has changed for `patience`. */
    std::vector<Sighting> watch_to_end(Milliseconds patience);
    /** Looks for so long. */
    std::vector<Sighting> watch_for(Milliseconds duration);

private:
    std::optional<std::uint32_t> look();
    std::optional<std::uint32_t> read(const Rectangle& place) const;
    std::optional<std::uint32_t> locate();

    const Framebuffer& m_framebuffer;
    Desktop& m_desktop;
    Stream m_stream;
    std::optional<Rectangle> m_place; /* of the picture on the screen, once found */
    std::optional<std::uint32_t> m_last;
};

#endif
