#include "players/player.h"
#include "players/zandor_window.h"

#include <utility>

namespace {

constexpr WindowPlace pause_button{0.11, 75, 26};
constexpr WindowPlace prevward_button{0.5, -41, 26};
constexpr WindowPlace fast_button{0.5, 6, 26};
constexpr double slider_left = 0.11;
constexpr double slider_right = 0.89;
constexpr int slider_from_bottom = 56;

class Zandor : public TrickPlayer {
public:
    Zandor(Desktop& desktop, Stream stream, const Command& command)
        : m_stream(std::move(stream)), m_window(desktop, command) {}

    const ChildProcess& process() const override { return m_window.process(); }

    Clock::time_point play() override {
        const auto until_window = m_window.wait_until_open();
        return order(m_stream) - until_window; // the dialog's time is the user's
    }

    std::optional<Clock::time_point> open(const Stream& stream) override { return order(stream); }

    Clock::time_point pause() override { return m_window.click(pause_button); }

    Clock::time_point seek(int second) override {
        const Rectangle window = m_window.place();
        const int left = static_cast<int>(window.width * slider_left);
        const int width = static_cast<int>(window.width * slider_right) - left;
        // One pixel inside the stretch that means this second.
        const int x = left + second * width / m_stream.seconds() + 1;
        return m_window.click({.share = 0, .x = x, .from_bottom = slider_from_bottom});
    }

    Clock::time_point turn_round() override { return m_window.click(prevward_button); }

    Clock::time_point race() override { return m_window.click(fast_button); }

private:
    /** Chooses a file in the dialog and presses Play; returns the moment of the press. */
    Clock::time_point order(const Stream& stream) {
        m_window.open_dialog(MediaMenu::play_file);
        m_window.type(stream.file.string());
        return m_window.press_play();
    }

    Stream m_stream;
    ZandorWindow m_window;
};

} // namespace

std::unique_ptr<TrickPlayer> make_zandor(Desktop& desktop, const Stream& stream,
                                         const std::filesystem::path& programs,
                                         const std::filesystem::path& scratch, int racing_speed) {
    const auto engine = programs / "libvelmora.so";
    if (racing_speed == usual_racing_speed) {
        return std::make_unique<Zandor>(desktop, stream, zandor_command(programs, scratch, engine));
    }
    Command command = zandor_command(programs, scratch, programs / "libspeed_engine.so");
    command.environment.push_back("BENCH_ENGINE=" + engine.string());
    command.environment.push_back("BENCH_SPEED=" + std::to_string(racing_speed));
    return std::make_unique<Zandor>(desktop, stream, command);
}
