#include "players/measurement.h"

namespace {

using namespace std::chrono_literals;

constexpr Milliseconds patience = 10s;
constexpr Milliseconds silence = 2s;

} // namespace

Measurement measure(const PlayerFactory& make_player, const Framebuffer& framebuffer, Desktop& desktop,
                    const Stream& stream, const Stream& next) {
    Measurement result;
    {
        const std::unique_ptr<Player> player = make_player(desktop, stream);
        const auto start = player->play();
        PictureWatch watch(framebuffer, desktop, stream);
        if (const auto first = watch.wait_for_first(patience)) {
            result[Quantity::first_picture] = Milliseconds(*first - start).count();
            const Milliseconds before = player->process().processor_time();
            const auto seen = watch.watch(silence);
            const Milliseconds spent = player->process().processor_time() - before;
            const auto shown = static_cast<double>(seen.size());
            result[Quantity::pictures_shown] = shown;
            result[Quantity::processor_time] = spent.count() / shown;
            result[Quantity::peak_memory] = player->process().peak_memory();
        }
        if (const auto order = player->open(next)) {
            PictureWatch next_watch(framebuffer, desktop, next);
            if (const auto first = next_watch.wait_for_first(patience)) {
                result[Quantity::opening] = Milliseconds(*first - *order).count();
            }
        }
    }
    desktop.wait_for_windows(0, patience);
    return result;
}
