#include "players/player.h"

#include <stdexcept>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;

class Zandor : public Player {
public:
    Zandor(Desktop& desktop, Stream stream, const std::filesystem::path& programs,
           const std::filesystem::path& directory)
        : m_desktop(desktop), m_stream(std::move(stream)),
          m_process({.arguments = {programs / "zandor_player"},
                     .environment = {"SDL_AUDIODRIVER=dummy"},
                     .directory = directory}) {}

    const ChildProcess& process() const override { return m_process; }

    Clock::time_point play() override {
        if (!m_desktop.wait_for_windows(1, 10s)) {
            throw std::runtime_error("the player's window does not come");
        }
        const auto until_window = Clock::now() - m_process.started();
        return order(m_stream) - until_window; // the dialog's time is the user's
    }

    std::optional<Clock::time_point> open(const Stream& stream) override { return order(stream); }

private:
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

std::unique_ptr<Player> make_zandor(Desktop& desktop, const Stream& stream,
                                    const std::filesystem::path& programs,
                                    const std::filesystem::path& scratch) {
    // The player looks for its engine in its working directory and leaves its configuration there.
    const auto directory = scratch / "zandor";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    std::filesystem::create_symlink(programs / "libvelmora.so", directory / "libvelmora.so");
    return std::make_unique<Zandor>(desktop, stream, programs, directory);
}
