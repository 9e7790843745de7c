/*
 * What a player made of a repeated stream, by what came to the screen.
 */
#ifndef BENCH_LIVE_SHOWING_H
#define BENCH_LIVE_SHOWING_H

#include "players/numbered_stream.h"
#include "players/sightings.h"

#include <cstddef>
#include <vector>

/** A picture that came to the screen. */
struct ShownPicture {
    std::size_t turn = 0; /* its place in the order of showing, counted across repetitions */
    Clock::time_point when;
};

class Showing {
public:
    /**
     * @param seen from the first repetition on; steps of half a stream and more are taken for going back
     * @param settled how many of them are not judged
     */
    Showing(const std::vector<Sighting>& seen, std::size_t settled, const Stream& stream);

    const std::vector<ShownPicture>& pictures() const { return m_pictures; }
    double distinct() const;
    /** Pictures between the first and the last one that were never shown. */
    double missing() const;
    /** Pictures shown after a later one. */
    double again() const;

private:
    std::vector<ShownPicture> m_pictures;
};

#endif
