/*
 * The windows on the display and the hands that type into them.
 */
#ifndef BENCH_PLAYERS_DESKTOP_H
#define BENCH_PLAYERS_DESKTOP_H

#include "players/child_process.h"
#include "players/framebuffer.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

class Desktop {
public:
    Desktop();
    ~Desktop();
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /** Inner rectangles of the windows under the window manager, in the order they came. */
    std::vector<Rectangle> windows();
    /** Inner rectangle of the largest window; empty when there is none. */
    Rectangle largest_window();
    /** Waits until there are `count` windows; false after `limit`. */
    bool wait_for_windows(std::size_t count, Milliseconds limit);

    /** Types keys ("Return") or text; returns when the command is on its way. */
    void press(const std::string& keys);
    void type(const std::string& text);
    void click(int x, int y);

private:
    void order(const std::string& command);

    struct Connection; /* to the display */

    std::unique_ptr<Connection> m_connection;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_robot; /* takes xdotool commands, a line each */
    bool m_changed = true;                                   /* since m_windows was read */
    std::vector<Rectangle> m_windows;
};

#endif
