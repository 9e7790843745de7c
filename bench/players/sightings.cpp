#include "players/sightings.h"

#include <algorithm>
#include <set>

double distinct_pictures(const std::vector<Sighting>& seen) {
    std::set<std::uint32_t> numbers;
    for (const Sighting& sighting : seen) {
        numbers.insert(sighting.number);
    }
    return static_cast<double>(numbers.size());
}

Milliseconds longest_gap(const std::vector<Sighting>& seen) {
    Milliseconds longest{0};
    for (std::size_t i = 1; i < seen.size(); ++i) {
        longest = std::max<Milliseconds>(longest, seen[i].when - seen[i - 1].when);
    }
    return longest;
}

Milliseconds time_between_ends(const std::vector<Sighting>& seen) {
    return seen.empty() ? Milliseconds{0} : Milliseconds(seen.back().when - seen.front().when);
}
