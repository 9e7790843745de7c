#include "live/showing.h"

#include <algorithm>
#include <set>

Showing::Showing(const std::vector<Sighting>& seen, std::size_t settled, const Stream& stream) {
    std::size_t turn = 0;
    for (const Sighting& sighting : seen) {
        const std::size_t number = sighting.number - stream.first;
        const std::size_t forward = (number + stream.count - turn % stream.count) % stream.count;
        const std::size_t back = stream.count - forward;
        turn = forward <= stream.count / 2 || back > turn ? turn + forward : turn - back;
        m_pictures.push_back({.turn = turn, .when = sighting.when});
    }
    m_pictures.erase(m_pictures.begin(),
                     m_pictures.begin() + static_cast<std::ptrdiff_t>(std::min(settled, m_pictures.size())));
}

double Showing::distinct() const {
    std::set<std::size_t> turns;
    for (const ShownPicture& picture : m_pictures) {
        turns.insert(picture.turn);
    }
    return static_cast<double>(turns.size());
}

double Showing::missing() const {
    if (m_pictures.empty()) {
        return 0;
    }
    const auto [first, last] = std::ranges::minmax(m_pictures, {}, &ShownPicture::turn);
    return static_cast<double>(last.turn - first.turn + 1) - distinct();
}

double Showing::again() const {
    double count = 0;
    std::size_t latest = 0;
    for (const ShownPicture& picture : m_pictures) {
        count += picture.turn < latest ? 1 : 0;
        latest = std::max(latest, picture.turn);
    }
    return count;
}
