#include "media/picture_size.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

PictureSize square(int width, int height, int num, int den) {
    const AvFrame frame = make_frame();
    frame->width = width;
    frame->height = height;
    frame->sample_aspect_ratio = {num, den};
    return square_pixel_size(*frame);
}

TEST(PictureSize, HasSquarePixels) {
    EXPECT_EQ(square(720, 576, 64, 45), (PictureSize{1024, 576}));
    EXPECT_EQ(square(720, 576, 16, 15), (PictureSize{768, 576}));
    EXPECT_EQ(square(1440, 1080, 4, 3), (PictureSize{1920, 1080}));
    EXPECT_EQ(square(1920, 1080, 0, 1), (PictureSize{1920, 1080}));
    EXPECT_EQ(square(720, 576, 2000000000, 1), (PictureSize{720, 576}));
}

TEST(PictureSize, FitsTheDisplayLikeTheWindowScales) {
    EXPECT_EQ(delivered_size({1920, 1080}, PictureSize{720, 576}), (PictureSize{720, 405}));
    EXPECT_EQ(delivered_size({320, 240}, PictureSize{1000, 600}), (PictureSize{800, 600}));
    EXPECT_EQ(delivered_size({1, 5000}, PictureSize{100, 100}), (PictureSize{1, 100}));
}

TEST(PictureSize, WithoutADisplayKeepsItsSizeUpTo1080Lines) {
    EXPECT_EQ(delivered_size({1920, 1080}, std::nullopt), (PictureSize{1920, 1080}));
    EXPECT_EQ(delivered_size({1024, 576}, std::nullopt), (PictureSize{1024, 576}));
    EXPECT_EQ(delivered_size({3840, 2160}, std::nullopt), (PictureSize{1920, 1080}));
}

TEST(PictureSize, NeverExceedsTheReceiversBuffer) {
    for (const PictureSize display :
         {PictureSize{3840, 2160}, PictureSize{7680, 4320}, PictureSize{100000, 700}}) {
        const PictureSize size = delivered_size({1920, 1080}, display);
        EXPECT_LE(std::int64_t{picture_pitch(size.width)} * size.height, largest_picture_bytes);
        EXPECT_NEAR(static_cast<double>(size.width) / size.height, 16.0 / 9.0, 0.01);
    }
}

TEST(PicturePitch, IsTheWidthPaddedToFourBytes) {
    EXPECT_EQ(picture_pitch(1), 4);
    EXPECT_EQ(picture_pitch(4), 12);
    EXPECT_EQ(picture_pitch(350), 1052);
    EXPECT_EQ(picture_pitch(1918), 5756);
}

} // namespace
} // namespace velmora
