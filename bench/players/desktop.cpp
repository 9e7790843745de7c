#include "players/desktop.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <algorithm>
#include <span>
#include <stdexcept>
#include <thread>

namespace {

// A window may be gone by the time it is asked about.
int ignore_error(Display* /*display*/, XErrorEvent* /*error*/) {
    return 0;
}

bool inner_rectangle(Display* display, Window window, Rectangle& result) {
    XWindowAttributes attributes{};
    Window child = 0;
    if (XGetWindowAttributes(display, window, &attributes) == 0 || attributes.map_state != IsViewable) {
        return false;
    }
    result = {.x = 0, .y = 0, .width = attributes.width, .height = attributes.height};
    return XTranslateCoordinates(display, window, DefaultRootWindow(display), 0, 0, &result.x, &result.y,
                                 &child) != 0;
}

std::vector<Window> managed_windows(Display* display) {
    const Atom list = XInternAtom(display, "_NET_CLIENT_LIST", False);
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    constexpr long all = 1024;
    if (XGetWindowProperty(display, DefaultRootWindow(display), list, 0, all, False, XA_WINDOW, &type,
                           &format, &count, &rest, &data) != Success ||
        data == nullptr) {
        return {};
    }
    const std::unique_ptr<unsigned char, int (*)(void*)> owner(data, XFree);
    const std::span windows(reinterpret_cast<const Window*>(data), count);
    return {windows.begin(), windows.end()};
}

} // namespace

struct Desktop::Connection {
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() {
        if (display != nullptr) {
            XCloseDisplay(display);
        }
    }

    Display* display = XOpenDisplay(nullptr);
};

Desktop::Desktop()
    : m_connection(std::make_unique<Connection>()),
      m_robot(popen("xdotool - >/dev/null 2>&1", "we"), pclose) {
    if (m_connection->display == nullptr || !m_robot) {
        throw std::runtime_error("no display, or no xdotool");
    }
    XSetErrorHandler(ignore_error);
    XSelectInput(m_connection->display, DefaultRootWindow(m_connection->display),
                 SubstructureNotifyMask | PropertyChangeMask);
}

Desktop::~Desktop() = default;

std::vector<Rectangle> Desktop::windows() {
    while (XPending(m_connection->display) != 0) {
        XEvent event{};
        XNextEvent(m_connection->display, &event);
        m_changed = true;
    }
    if (m_changed) {
        m_changed = false;
        m_windows.clear();
        for (const Window window : managed_windows(m_connection->display)) {
            Rectangle rectangle;
            if (inner_rectangle(m_connection->display, window, rectangle)) {
                m_windows.push_back(rectangle);
            } else {
                m_changed = true; // listed before it is mapped: look again
            }
        }
    }
    return m_windows;
}

Rectangle Desktop::largest_window() {
    Rectangle result;
    for (const Rectangle& window : windows()) {
        if (window.width * window.height > result.width * result.height) {
            result = window;
        }
    }
    return result;
}

bool Desktop::wait_for_windows(std::size_t count, Milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (windows().size() != count) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return true;
}

void Desktop::press(const std::string& keys) {
    order("key " + keys);
}

void Desktop::type(const std::string& text) {
    order("type --delay 2 '" + text + "'");
}

void Desktop::click(int x, int y) {
    order("mousemove " + std::to_string(x) + " " + std::to_string(y) + " click 1");
}

void Desktop::order(const std::string& command) {
    std::fputs((command + "\n").c_str(), m_robot.get());
    std::fflush(m_robot.get());
}
