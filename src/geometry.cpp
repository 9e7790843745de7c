#include "geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int largest_picture_side = 16384;

bool is_whole(double number) {
    return number == std::trunc(number);
}

QPoint centred(QSize inner, QSize outer) {
    return {(outer.width() - inner.width()) / 2, (outer.height() - inner.height()) / 2};
}

} // namespace

int prop2int(int value, double ratio, int mode) {
    if ((mode != DOUB && mode != DIV) || !std::isfinite(ratio) || (mode == DIV && ratio == 0.0)) {
        return value;
    }
    constexpr double most = std::numeric_limits<int>::max();
    const double fraction = ratio - std::trunc(ratio);
    // A whole ratio has no fraction to bound the search; it ends by itself after at most `ratio` steps.
    const double tries = fraction == 0.0 ? most : std::min(std::trunc(1.0 / fraction), most);
    for (double tried = 0; tried < tries && value < std::numeric_limits<int>::max(); ++tried) {
        if (is_whole(mode == DOUB ? value * ratio : value / ratio)) {
            break;
        }
        ++value;
    }
    return value;
}

namespace geometry {

Layout lay_out(const LayoutInput& input) {
    const int window_width = input.window.width();
    const int window_height = input.window.height();
    const int available_height = input.central_height - (input.bar_shown ? input.bar_height : 0);

    Layout layout;
    const QSize frame =
        input.picture.scaled(window_width, std::max(available_height, 0), Qt::KeepAspectRatio);
    const QSize area(std::max(window_width, frame.width()), std::max(available_height, frame.height()));
    layout.player_frame = QRect(centred(frame, area), frame);

    const int left = static_cast<int>(window_width * 0.11);
    const int right = static_cast<int>(window_width * 0.89);
    layout.sof_x = left - 40;
    layout.eof_x = right + 10;
    layout.slider_x = left;
    layout.slider_width = right - left;
    layout.control_x = layout.slider_x;

    layout.play_speed_x = std::max(static_cast<int>(window_width * 0.5 - input.play_speed_width * 0.5), 260);
    layout.port_x = std::max((window_width - input.play_speed_width) / 2, 270);
    layout.action_group_shown = window_width > 540;
    layout.action_group = QRect(layout.eof_x - 120, 10, 120, 80);

    layout.bar_button = QPoint(window_width - 25, window_height - 50);
    layout.pin_y = window_height - 50;
    layout.bar_y = input.central_height - input.bar_height;
    layout.bar_width = window_width;

    layout.logo =
        QPoint(frame.width() / 2 - input.logo.width() / 2, frame.height() / 2 - input.logo.height() / 2);
    layout.app_name =
        QPoint(frame.width() / 2 - input.app_name.width() / 2, layout.logo.y() + input.logo.height());
    return layout;
}

QRect message_room(const QRect& player_frame, int window_width, bool bar_shown) {
    constexpr int left_button = 37;  // where `pinBtn` ends
    constexpr int right_button = 25; // as far from the right edge `outBtn` begins
    const QRect whole{QPoint{}, player_frame.size()};
    if (bar_shown) {
        return whole;
    }
    const int left = std::max(left_button - player_frame.left(), 0);
    const int right = std::max(player_frame.left() + player_frame.width() - (window_width - right_button), 0);
    return whole.adjusted(left, 0, -right, 0);
}

FramePlacement place_frame(QSize picture, QSize window, int bar_y, bool bar_shown) {
    FramePlacement placement;
    placement.bar_height = bar_shown ? window.height() - bar_y : 0;
    placement.source = QSize(std::max(window.width(), picture.width()),
                             std::max(window.height() - placement.bar_height, picture.height()));
    placement.screen = QPoint(placement.source.width() / 2 - picture.width() / 2,
                              placement.source.height() / 2 - picture.height() / 2);
    return placement;
}

QSize fit_by_factor(QSize picture, QSize box) {
    double factor = static_cast<double>(box.width()) / picture.width();
    if (picture.height() * factor > box.height()) {
        factor = static_cast<double>(box.height()) / picture.height();
    }
    return {static_cast<int>(picture.width() * factor), static_cast<int>(picture.height() * factor)};
}

QSize sensible_picture_size(int width, int height) {
    const auto sensible = [](int side) { return side >= 0 && side <= largest_picture_side; };
    return sensible(width) && sensible(height) ? QSize(width, height) : QSize(0, 0);
}

bool outgrows_screen(QSize picture, int bar_height, int screen_width, int screen_height) {
    return bar_height + picture.height() >= screen_width || picture.width() >= screen_height;
}

int slider_position(int minimum, int maximum, int x, int width) {
    const float share = static_cast<float>(x) / static_cast<float>(width);
    const float position =
        static_cast<float>(minimum) + (static_cast<float>(maximum) - static_cast<float>(minimum)) * share;
    // A float near the largest int rounds up to a number that no int holds.
    return static_cast<int>(std::clamp(static_cast<double>(position), static_cast<double>(minimum),
                                       static_cast<double>(maximum)));
}

QRect tag_list_place(int count, int x, int width, QSize room) {
    constexpr int row = 20;
    constexpr int fewest_rows = 4; // a list of fewer would hardly show that it goes on
    int y = 520;
    if (count <= 2) {
        y += 50;
    } else if (count == 3) {
        y += 30;
    } else if (count == 4) {
        y += 20;
    }
    const int whole = count * row;
    const int height = std::min({whole, std::max(room.height() - y, fewest_rows * row), room.height()});
    return {std::max(std::min(x, room.width() - width), 0), std::min(y, room.height() - height), width,
            height};
}

} // namespace geometry
