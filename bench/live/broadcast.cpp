#include "live/broadcast.h"

#include <algorithm>
#include <iterator>

namespace {

SendRecipe recipe_for(std::uint16_t port, std::function<void(std::size_t)> on_progress) {
    SendRecipe recipe;
    recipe.target.port = port;
    recipe.on_progress = std::move(on_progress);
    return recipe;
}

std::vector<std::uint8_t> part_from(const std::vector<std::uint8_t>& bytes, std::size_t from) {
    return {std::next(bytes.begin(), static_cast<std::ptrdiff_t>(from)), bytes.end()};
}

} // namespace

Broadcast::Broadcast(const LiveStream& stream, std::uint16_t port, std::size_t from)
    : m_pictures(stream.pictures()), m_from(from), m_departures(stream.pictures().size()),
      m_sender(part_from(stream.bytes(), from),
               recipe_for(port, [this](std::size_t bytes) { note(bytes); })) {}

void Broadcast::note(std::size_t sent) {
    const auto now = Clock::now();
    const std::lock_guard lock(m_mutex);
    for (; m_next < m_pictures.size() && m_pictures[m_next].end <= m_from + sent; ++m_next) {
        if (m_pictures[m_next].begin >= m_from) {
            m_departures[m_pictures[m_next].turn] = now;
        }
    }
}

std::optional<Clock::time_point> Broadcast::departure(std::size_t turn) const {
    const std::lock_guard lock(m_mutex);
    return turn < m_departures.size() ? m_departures[turn] : std::nullopt;
}
