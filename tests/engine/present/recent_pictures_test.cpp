#include "present/recent_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace velmora {
namespace {

Picture picture(int number, int distance_of_keys) {
    Picture picture;
    picture.position = Position{Ticks{3600 * number}};
    picture.frame = make_frame();
    picture.frame->width = 64;
    picture.frame->height = 32;
    picture.frame->format = AV_PIX_FMT_YUV420P;
    picture.frame->key_frame = number % distance_of_keys == 0 ? 1 : 0;
    EXPECT_EQ(av_frame_get_buffer(picture.frame.get(), 0), 0);
    return picture;
}

class RecentPicturesOf : public testing::TestWithParam<int> {
protected:
    void show(int count) {
        for (int number = 0; number < count; ++number) {
            const Picture shown = picture(number, GetParam());
            recent_.keep(shown, converter_.convert(*shown.frame, size_));
        }
    }

    PictureConverter converter_;
    PictureSize size_{64, 32};
    RecentPictures recent_;
};

TEST_P(RecentPicturesOf, AreMoreWhereKeyPicturesAreSparse) {
    constexpr int count = 700;
    show(count);
    const auto pictures = recent_.take();
    const auto distance = static_cast<std::size_t>(GetParam());
    EXPECT_GE(pictures.size(), distance / 3) << "they cover the time in which a group is decoded";
    EXPECT_LE(pictures.size(), distance / 3 + 3);
    EXPECT_EQ(pictures.back().position, Position{Ticks{3600 * (count - 1)}});
    EXPECT_EQ(pictures.front().position, pictures.back().position - Ticks{3600} * (pictures.size() - 1));
    EXPECT_TRUE(recent_.take().empty());
}

TEST_P(RecentPicturesOf, AreKeptForAnExpectedDistanceBeforeItIsSeen) {
    const int distance = GetParam();
    recent_.expect_groups_of(Ticks{3600 * distance});
    show(std::max(distance - 1, 2));
    EXPECT_GE(recent_.take().size(), static_cast<std::size_t>(distance) / 3);
}

TEST_P(RecentPicturesOf, AreKeptAsSmallAsTheyWereShown) {
    size_ = {16, 8};
    show(100);
    for (const Picture& kept : recent_.take()) {
        EXPECT_EQ(kept.frame->width, 16);
        EXPECT_EQ(kept.frame->height, 8);
        EXPECT_EQ(kept.whole_size, (PictureSize{64, 32}));
    }
}

INSTANTIATE_TEST_SUITE_P(Distances, RecentPicturesOf, testing::Values(12, 50, 250));

} // namespace
} // namespace velmora
