/*
 * The window of this project's player, worked as a user does.
 */
#ifndef BENCH_PLAYERS_ZANDOR_WINDOW_H
#define BENCH_PLAYERS_ZANDOR_WINDOW_H

#include "players/child_process.h"
#include "players/desktop.h"

#include <filesystem>
#include <string>

/** A place in the window: parts of its width from the left, pixels from the left and from the bottom. */
struct WindowPlace {
    double share = 0;
    int x = 0;
    int from_bottom = 0;
};

/** Entries of the Media menu, counted from the first. */
enum class MediaMenu { play_file = 1, network_stream = 2 };

class ZandorWindow {
public:
    ZandorWindow(Desktop& desktop, const Command& command);

    const ChildProcess& process() const { return m_process; }
    /** Waits for the window; returns how long after the start it is there. */
    Clock::duration wait_until_open();
    Rectangle place() { return m_desktop.largest_window(); }
    Clock::time_point click(const WindowPlace& place);
    /** Opens the dialog of a menu entry, as quickly as a quick user does. */
    void open_dialog(MediaMenu entry);
    /** Types into the dialog. */
    void type(const std::string& text);
    /** Presses Play in the dialog; returns the moment. */
    Clock::time_point press_play();

private:
    Desktop& m_desktop;
    ChildProcess m_process;
};

/**
 * Makes an empty working directory below `scratch`, where the player finds its engine, and returns how to
 * start the player there.
 */
Command zandor_command(const std::filesystem::path& programs, const std::filesystem::path& scratch,
                       const std::filesystem::path& engine);

#endif
