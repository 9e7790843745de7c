#include "players/zandor_window.h"

#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr auto reading = 300ms; // a quick user

} // namespace

ZandorWindow::ZandorWindow(Desktop& desktop, const Command& command)
    : m_desktop(desktop), m_process(command) {}

Clock::duration ZandorWindow::wait_until_open() {
    if (!m_desktop.wait_for_windows(1, 10s)) {
        throw std::runtime_error("the player's window does not come");
    }
    return Clock::now() - m_process.started();
}

Clock::time_point ZandorWindow::click(const WindowPlace& place) {
    const Rectangle window = m_desktop.largest_window();
    const auto moment = Clock::now();
    m_desktop.click(window.x + static_cast<int>(window.width * place.share) + place.x,
                    window.y + window.height - place.from_bottom);
    return moment;
}

void ZandorWindow::open_dialog(MediaMenu entry) {
    std::this_thread::sleep_for(reading);
    const Rectangle window = m_desktop.largest_window();
    constexpr int menu_x = 25;
    constexpr int menu_y = 10;
    m_desktop.click(window.x + menu_x, window.y + menu_y);
    std::this_thread::sleep_for(reading);
    std::string keys;
    for (int i = 0; i < static_cast<int>(entry); ++i) {
        keys += "Down ";
    }
    m_desktop.press(keys + "Return");
    if (!m_desktop.wait_for_windows(2, 10s)) {
        throw std::runtime_error("the player's dialog does not come");
    }
    std::this_thread::sleep_for(reading);
}

void ZandorWindow::type(const std::string& text) {
    m_desktop.type(text);
    std::this_thread::sleep_for(reading + text.size() * 6ms);
}

Clock::time_point ZandorWindow::press_play() {
    const auto moment = Clock::now();
    m_desktop.press("Return");
    return moment;
}

Command zandor_command(const std::filesystem::path& programs, const std::filesystem::path& scratch,
                       const std::filesystem::path& engine) {
    // The player looks for its engine in its working directory and leaves its configuration there.
    const auto directory = scratch / "zandor";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    std::filesystem::create_symlink(engine, directory / "libvelmora.so");
    return {.arguments = {programs / "zandor_player"},
            .environment = {"SDL_AUDIODRIVER=dummy"},
            .directory = directory};
}
