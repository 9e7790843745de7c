// The window's arithmetic, without a window.
#include "geometry.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>

namespace {

geometry::LayoutInput input_of(QSize window) {
    geometry::LayoutInput input;
    input.window = window;
    input.central_height = window.height() - 22;
    input.picture = QSize(720, 576);
    input.bar_height = 63;
    input.play_speed_width = 101;
    input.logo = QSize(81, 71);
    input.app_name = QSize(711, 31);
    return input;
}

TEST(Layout, OfTheFirstWindow) {
    const geometry::Layout layout = geometry::lay_out(input_of(QSize(720, 671)));
    // 720 x 586 are left above the bar: the whole width, 5 pixels of rest above and below.
    EXPECT_EQ(layout.player_frame, QRect(0, 5, 720, 576));
    EXPECT_TRUE(layout.action_group_shown);
    EXPECT_EQ(layout.sof_x, 39);
    EXPECT_EQ(layout.eof_x, 650);
    EXPECT_EQ(layout.slider_x, 79);
    EXPECT_EQ(layout.slider_width, 561);
    EXPECT_EQ(layout.control_x, 79);
    EXPECT_EQ(layout.play_speed_x, 309) << "360 - 50.5, cut";
    EXPECT_EQ(layout.port_x, 309);
    EXPECT_EQ(layout.bar_button, QPoint(695, 621));
    EXPECT_EQ(layout.action_group, QRect(530, 10, 120, 80));
    EXPECT_EQ(layout.pin_y, 621);
    EXPECT_EQ(layout.bar_y, 586);
    EXPECT_EQ(layout.bar_width, 720);
    EXPECT_EQ(layout.logo, QPoint(320, 253));
    EXPECT_EQ(layout.app_name, QPoint(5, 324));
}

TEST(Layout, WithoutTheBarTakesItsHeight) {
    geometry::LayoutInput input = input_of(QSize(1280, 742));
    input.picture = QSize(1280, 720);
    input.bar_shown = false;
    EXPECT_EQ(geometry::lay_out(input).player_frame, QRect(0, 0, 1280, 720));
    input.bar_shown = true;
    EXPECT_EQ(geometry::lay_out(input).player_frame, QRect(56, 0, 1168, 657));
}

TEST(Layout, AnUnknownPictureFillsTheArea) {
    geometry::LayoutInput input = input_of(QSize(800, 600));
    for (const QSize unknown : {QSize(0, 0), QSize(0, 576), QSize(720, 0)}) {
        input.picture = unknown;
        EXPECT_EQ(geometry::lay_out(input).player_frame, QRect(0, 0, 800, 515));
    }
}

TEST(Layout, AWindowLowerThanItsBarKeepsItsPlaces) {
    geometry::LayoutInput input = input_of(QSize(300, 60));
    const geometry::Layout layout = geometry::lay_out(input);
    EXPECT_EQ(layout.player_frame.height(), 0);
    EXPECT_EQ(layout.play_speed_x, 260);
    EXPECT_EQ(layout.port_x, 270);
}

struct GroupLimit {
    int window_width;
    int play_speed_x;
    int port_x;
    bool action_group_shown;
};

void PrintTo(const GroupLimit& limit, std::ostream* out) {
    *out << limit.window_width;
}

class LayoutLimits : public testing::TestWithParam<GroupLimit> {};

TEST_P(LayoutLimits, HoldAtEveryWidth) {
    const geometry::Layout layout = geometry::lay_out(input_of(QSize(GetParam().window_width, 600)));
    EXPECT_EQ(layout.play_speed_x, GetParam().play_speed_x);
    EXPECT_EQ(layout.port_x, GetParam().port_x);
    EXPECT_EQ(layout.action_group_shown, GetParam().action_group_shown);
}

INSTANTIATE_TEST_SUITE_P(Widths, LayoutLimits,
                         testing::Values(GroupLimit{1, 260, 270, false}, GroupLimit{540, 260, 270, false},
                                         GroupLimit{541, 260, 270, true}, GroupLimit{622, 260, 270, true},
                                         GroupLimit{623, 261, 270, true}, GroupLimit{642, 270, 270, true},
                                         GroupLimit{643, 271, 271, true}, GroupLimit{1920, 909, 909, true}));

TEST(FramePlacement, CentresAPictureThatFillsOneDimension) {
    const auto placement = geometry::place_frame(QSize(800, 400), QSize(800, 663), 600, true);
    EXPECT_EQ(placement.bar_height, 63);
    EXPECT_EQ(placement.source, QSize(800, 600));
    EXPECT_EQ(placement.screen, QPoint(0, 100));
}

TEST(FramePlacement, GrowsTheWindowToThePicture) {
    const auto placement = geometry::place_frame(QSize(1001, 701), QSize(800, 663), 600, true);
    EXPECT_EQ(placement.source, QSize(1001, 701));
    EXPECT_EQ(placement.screen, QPoint(0, 0));
}

TEST(FramePlacement, AHiddenBarTakesNoRoom) {
    const auto placement = geometry::place_frame(QSize(101, 663), QSize(800, 663), 600, false);
    EXPECT_EQ(placement.bar_height, 0);
    EXPECT_EQ(placement.source, QSize(800, 663));
    EXPECT_EQ(placement.screen, QPoint(350, 0)) << "400 - 50, both cut";
}

TEST(FitByFactor, TakesTheSmallerFactorAndCuts) {
    EXPECT_EQ(geometry::fit_by_factor(QSize(720, 576), QSize(360, 1000)), QSize(360, 288));
    EXPECT_EQ(geometry::fit_by_factor(QSize(720, 576), QSize(1000, 288)), QSize(360, 288));
    EXPECT_EQ(geometry::fit_by_factor(QSize(1920, 1080), QSize(721, 720)), QSize(721, 405));
}

TEST(PictureSize, WhatNoPictureHasIsNotKnown) {
    EXPECT_EQ(geometry::sensible_picture_size(1920, 1080), QSize(1920, 1080));
    EXPECT_EQ(geometry::sensible_picture_size(16384, 1), QSize(16384, 1));
    EXPECT_EQ(geometry::sensible_picture_size(720, 0), QSize(720, 0));
    for (const int garbage : {-1, 16385, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(geometry::sensible_picture_size(garbage, 576), QSize(0, 0));
        EXPECT_EQ(geometry::sensible_picture_size(720, garbage), QSize(0, 0));
    }
}

TEST(OutgrowsScreen, ComparesCrosswise) {
    EXPECT_FALSE(geometry::outgrows_screen(QSize(1079, 1856), 63, 1920, 1080));
    EXPECT_TRUE(geometry::outgrows_screen(QSize(1079, 1857), 63, 1920, 1080)) << "height against width";
    EXPECT_TRUE(geometry::outgrows_screen(QSize(1080, 100), 63, 1920, 1080)) << "width against height";
}

TEST(SliderPosition, IsCutFromTheShareOfTheWidth) {
    EXPECT_EQ(geometry::slider_position(0, 3600, 0, 561), 0);
    EXPECT_EQ(geometry::slider_position(0, 3600, 280, 561), 1796);
    EXPECT_EQ(geometry::slider_position(0, 3600, 560, 561), 3593);
    EXPECT_EQ(geometry::slider_position(100, 200, 50, 100), 150);
    EXPECT_EQ(geometry::slider_position(0, 0, 300, 561), 0);
}

TEST(SliderPosition, NeverLeavesTheRange) {
    constexpr int most = std::numeric_limits<int>::max();
    EXPECT_EQ(geometry::slider_position(0, most, 99999, 100000), 2147462144) << "in single precision";
    EXPECT_EQ(geometry::slider_position(0, most, 10, 10), most);
}

TEST(TagListPlace, StandsLowerWithFewTags) {
    constexpr QSize room{720, 649};
    EXPECT_EQ(geometry::tag_list_place(1, 300, 51, room), QRect(300, 570, 51, 20));
    EXPECT_EQ(geometry::tag_list_place(2, 300, 51, room), QRect(300, 570, 51, 40));
    EXPECT_EQ(geometry::tag_list_place(3, 300, 51, room), QRect(300, 550, 51, 60));
    EXPECT_EQ(geometry::tag_list_place(4, 300, 51, room), QRect(300, 540, 51, 80));
    EXPECT_EQ(geometry::tag_list_place(5, 300, 51, room), QRect(300, 520, 51, 100));
    EXPECT_EQ(geometry::tag_list_place(6, 300, 51, room), QRect(300, 520, 51, 120));
    EXPECT_EQ(geometry::tag_list_place(128, 300, 51, {720, 5000}), QRect(300, 520, 51, 2560));
}

TEST(TagListPlace, EndsAtTheWindowsEdge) {
    EXPECT_EQ(geometry::tag_list_place(7, 300, 51, {720, 649}), QRect(300, 520, 51, 129));
    EXPECT_EQ(geometry::tag_list_place(128, 300, 51, {720, 649}), QRect(300, 520, 51, 129));
}

TEST(TagListPlace, MovesIntoAWindowThatEndsAboveIt) {
    EXPECT_EQ(geometry::tag_list_place(1, 300, 51, {720, 298}), QRect(300, 278, 51, 20));
    EXPECT_EQ(geometry::tag_list_place(128, 300, 51, {720, 298}), QRect(300, 218, 51, 80));
    EXPECT_EQ(geometry::tag_list_place(128, 402, 51, {420, 298}), QRect(369, 218, 51, 80));
    EXPECT_EQ(geometry::tag_list_place(128, 402, 51, {40, 30}), QRect(0, 0, 51, 30));
}

TEST(MessageRoom, IsThePictureButForTheWindowsButtonsOverIt) {
    EXPECT_EQ(geometry::message_room({0, -2, 720, 571}, 720, true), QRect(0, 0, 720, 571));
    EXPECT_EQ(geometry::message_room({0, 36, 720, 576}, 720, false), QRect(37, 0, 658, 576));
    EXPECT_EQ(geometry::message_room({100, 0, 520, 416}, 720, false), QRect(0, 0, 520, 416));
}

TEST(WholeRatio, IsTheNextIntegerThatMapsToOne) {
    EXPECT_EQ(prop2int(10, 1.25, DOUB), 12) << "12 x 1.25 = 15";
    EXPECT_EQ(prop2int(12, 1.25, DOUB), 12);
    EXPECT_EQ(prop2int(11, 1.25, DIV), 15) << "15 / 1.25 = 12, tried four times at most";
    EXPECT_EQ(prop2int(7, 2.5, DIV), 9) << "the fraction allows two tries";
}

TEST(WholeRatio, OfAWholeNumber) {
    EXPECT_EQ(prop2int(7, 3.0, DOUB), 7);
    EXPECT_EQ(prop2int(7, 3.0, DIV), 9);
}

TEST(WholeRatio, LeavesTheValueAloneWithoutASensibleRatioOrMode) {
    EXPECT_EQ(prop2int(7, 1.25, 2), 7);
    EXPECT_EQ(prop2int(7, 1.25, -1), 7);
    EXPECT_EQ(prop2int(7, 0.0, DIV), 7);
    EXPECT_EQ(prop2int(7, -1.25, DOUB), 7);
    EXPECT_EQ(prop2int(7, std::numeric_limits<double>::infinity(), DIV), 7);
    EXPECT_EQ(prop2int(7, std::numeric_limits<double>::quiet_NaN(), DOUB), 7);
    EXPECT_EQ(prop2int(std::numeric_limits<int>::max(), 2.5, DIV), std::numeric_limits<int>::max());
}

} // namespace
