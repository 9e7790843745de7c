// Where everything in the main window stands, as arithmetic on sizes alone.
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

/// Mode of prop2int.
enum RatioMode : int { DOUB = 0, DIV = 1 };

/// The nearest integer at or above `value` that the ratio maps to a whole number.
/// @param ratio factor (DOUB) or divisor (DIV); its fraction bounds how many integers are tried
/// @param mode DOUB or DIV; any other leaves `value` as it is
int prop2int(int value, double ratio, int mode);

namespace geometry {

/// What the layout of the window depends on; all in pixels of the toolkit.
struct LayoutInput {
    QSize window;         ///< the whole window
    int central_height{}; ///< the window without its menu bar
    QSize picture;        ///< the video, for its aspect; not known when a side is 0
    bool bar_shown{true};
    int bar_height{};
    int play_speed_width{};
    QSize logo;     ///< `symbole`
    QSize app_name; ///< `app_name_lbl`
};

/// Where the widgets go. What is not named here keeps its place or its size.
struct Layout {
    QRect player_frame;
    bool action_group_shown{};
    QRect action_group;
    int sof_x{};
    int eof_x{};
    int slider_x{};
    int slider_width{};
    int play_speed_x{};
    int port_x{};
    QPoint bar_button; ///< `inBtn` and `outBtn`
    int pin_y{};       ///< `pinBtn` and `unpinBtn`
    int bar_y{};
    int bar_width{};
    int control_x{};
    QPoint logo;     ///< in the player frame
    QPoint app_name; ///< in the player frame
};

Layout lay_out(const LayoutInput& input);

/// Where in the video area a message may stand: not where the buttons at the window's lower corners lie over
/// the picture, which they do without the bar.
QRect message_room(const QRect& player_frame, int window_width, bool bar_shown);

/// A picture of a fixed size in the window.
struct FramePlacement {
    QSize source;     ///< the window without its bar, grown until the picture fits
    int bar_height{}; ///< from the top of the bar to the bottom of the window, 0 when it is hidden
    QPoint screen;    ///< where the picture's frame goes
};

/// @param picture size the picture is to have
/// @param bar_y top of the bar in the window
FramePlacement place_frame(QSize picture, QSize window, int bar_y, bool bar_shown);

/// The largest size with the picture's aspect that fits the box, cut to whole pixels.
/// @param picture neither side may be 0
QSize fit_by_factor(QSize picture, QSize box);

/// A size as an engine reports it, made safe to lay out: 0 x 0 (not known) when a side is negative or larger
/// than any picture.
QSize sensible_picture_size(int width, int height);

/// Whether the window must be maximised to hold a picture. Its height is compared with the screen's width and
/// its width with the screen's height.
bool outgrows_screen(QSize picture, int bar_height, int screen_width, int screen_height);

/// The position that a click on a slider means.
/// @param x distance from the slider's left edge, @param width of the slider, pixels
int slider_position(int minimum, int maximum, int x, int width);

/// Where the list of `count` tags goes: at its place, as far as it stays inside the window, which it may be
/// too long for.
/// @param x left edge of the list, @param width its width, @param room the window without its menu bar
QRect tag_list_place(int count, int x, int width, QSize room);

} // namespace geometry
