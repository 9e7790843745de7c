/*
 * What is measured, and the values that a player gave.
 */
#ifndef BENCH_PLAYERS_SAMPLES_H
#define BENCH_PLAYERS_SAMPLES_H

#include <map>
#include <string>
#include <vector>

/** Times are milliseconds unless told otherwise. */
enum class Quantity {
    first_picture,
    first_picture_of_large_file,
    growth_of_first_picture, /* large file to small file */
    opening,
    opening_of_large_file,
    growth_of_opening, /* large file to small file */
    processor_time_per_picture,
    processor_time_per_second,
    processor_time_per_seek,
    peak_memory, /* MiB */
    pictures_shown,
    pictures_per_second,
    longest_gap,
    pace,       /* seconds of the stream per second */
    turn_round, /* until the first picture of the other direction */
    seek_in_pause,
    seek_while_playing,
    exact_seeks,   /* 100 for an exact one, 0 for another */
    after_joining, /* first picture after the first packet that could be received */
    access_point,  /* its last packet sent, after the first packet that could be received */
    delay,         /* from a picture's last packet to the screen */
    pictures_missing,
    pictures_again,      /* shown once more after a later one */
    datagrams_dropped,   /* by the system, since nobody fetched them */
    watching,            /* processor time of the watcher per second */
    bytes_lost,          /* % */
    bit_exact,           /* 100 for a recording that is, 0 for another */
    pacing_error,        /* of a datagram, either way */
    rate_error,          /* of the whole, either way, % */
    processor_share,     /* % of a core */
    after_access_point,  /* first picture after its last packet */
    beyond_access_point, /* first picture after the access point and two decodings */
};

/** Values by quantity, one for each time it was measured. */
using Samples = std::map<Quantity, std::vector<double>>;

/** A player's name and what it gave. */
struct Column {
    std::string player;
    Samples samples;
};

#endif
