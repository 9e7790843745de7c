#include "players/player.h"

#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;

/** A place in the window: parts of its width from the left, pixels from the left and from the bottom. */
struct Place {
    double share = 0;
    int x = 0;
    int from_bottom = 0;
};

constexpr Place pause_button{0.11, 75, 26};
constexpr Place prevward_button{0.5, -41, 26};
constexpr Place fast_button{0.5, 6, 26};
constexpr double slider_left = 0.11;
constexpr double slider_right = 0.89;
constexpr int slider_from_bottom = 56;

class Zandor : public TrickPlayer {
public:
    Zandor(Desktop& desktop, Stream stream, const Command& command)
        : m_desktop(desktop), m_stream(std::move(stream)), m_process(command) {}

    const ChildProcess& process() const override { return m_process; }

    Clock::time_point play() override {
        if (!m_desktop.wait_for_windows(1, 10s)) {
            throw std::runtime_error("the player's window does not come");
        }
        const auto until_window = Clock::now() - m_process.started();
        return order(m_stream) - until_window; // the dialog's time is the user's
    }

    std::optional<Clock::time_point> open(const Stream& stream) override { return order(stream); }

    Clock::time_point pause() override { return click(pause_button); }

    Clock::time_point seek(int second) override {
        const Rectangle window = m_desktop.largest_window();
        const int left = static_cast<int>(window.width * slider_left);
        const int width = static_cast<int>(window.width * slider_right) - left;
        // One pixel inside the stretch that means this second.
        const int x = left + second * width / m_stream.seconds() + 1;
        return click({.share = 0, .x = x, .from_bottom = slider_from_bottom});
    }

    Clock::time_point turn_round() override { return click(prevward_button); }

    Clock::time_point race() override { return click(fast_button); }

private:
    Clock::time_point click(const Place& place) {
        const Rectangle window = m_desktop.largest_window();
        const auto moment = Clock::now();
        m_desktop.click(window.x + static_cast<int>(window.width * place.share) + place.x,
                        window.y + window.height - place.from_bottom);
        return moment;
    }

    /** Chooses a file in the dialog and presses Play; returns the moment of the press. */
    Clock::time_point order(const Stream& stream) {
        std::this_thread::sleep_for(reading);
        const Rectangle window = m_desktop.largest_window();
        constexpr int menu_x = 25;
        constexpr int menu_y = 10;
        m_desktop.click(window.x + menu_x, window.y + menu_y);
        std::this_thread::sleep_for(reading);
        m_desktop.press("Down Return");
        if (!m_desktop.wait_for_windows(2, 10s)) {
            throw std::runtime_error("the player's dialog does not come");
        }
        std::this_thread::sleep_for(reading);
        m_desktop.type(stream.file.string());
        std::this_thread::sleep_for(reading + stream.file.string().size() * 6ms);
        const auto moment = Clock::now();
        m_desktop.press("Return");
        return moment;
    }

    static constexpr auto reading = 300ms; // a quick user

    Desktop& m_desktop;
    Stream m_stream;
    ChildProcess m_process;
};

} // namespace

std::unique_ptr<TrickPlayer> make_zandor(Desktop& desktop, const Stream& stream,
                                         const std::filesystem::path& programs,
                                         const std::filesystem::path& scratch, int racing_speed) {
    // The player looks for its engine in its working directory and leaves its configuration there.
    const auto directory = scratch / "zandor";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    const auto engine = programs / "libvelmora.so";
    Command command{.arguments = {programs / "zandor_player"},
                    .environment = {"SDL_AUDIODRIVER=dummy"},
                    .directory = directory};
    if (racing_speed == usual_racing_speed) {
        std::filesystem::create_symlink(engine, directory / "libvelmora.so");
    } else {
        std::filesystem::create_symlink(programs / "libspeed_engine.so", directory / "libvelmora.so");
        command.environment.push_back("BENCH_ENGINE=" + engine.string());
        command.environment.push_back("BENCH_SPEED=" + std::to_string(racing_speed));
    }
    return std::make_unique<Zandor>(desktop, stream, command);
}
