#include "decode/picture_shrinker.h"

#include "decode/picture_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <vector>

namespace velmora {
namespace {

constexpr PictureSize display{320, 180};

/// One strong colour, in which matrices differ most.
Picture plain_picture(int width, int height) {
    Picture picture;
    picture.frame = make_frame();
    picture.frame->width = width;
    picture.frame->height = height;
    picture.frame->format = AV_PIX_FMT_YUV420P;
    EXPECT_EQ(av_frame_get_buffer(picture.frame.get(), 0), 0);
    const int samples[]{90, 80, 190};
    for (int plane = 0; plane < 3; ++plane) {
        const auto lines = static_cast<std::size_t>(plane == 0 ? height : height / 2);
        std::ranges::fill(std::span{picture.frame->data[plane],
                                    static_cast<std::size_t>(picture.frame->linesize[plane]) * lines},
                          static_cast<std::uint8_t>(samples[plane]));
    }
    return picture;
}

std::vector<std::uint8_t> middle_pixel(const Picture& picture) {
    PictureConverter converter;
    const RgbPicture rgb = converter.convert(*picture.frame, display);
    const auto middle = rgb.bytes.subspan(static_cast<std::size_t>(rgb.pitch * 90 + 3 * 160), 3);
    return {middle.begin(), middle.end()};
}

class ShrunkPicture : public testing::TestWithParam<AVColorSpace> {};

TEST_P(ShrunkPicture, HasTheColoursOfTheWholeOne) {
    Picture picture = plain_picture(1920, 1080);
    picture.frame->colorspace = GetParam();
    const auto whole = middle_pixel(picture);
    PictureShrinker shrinker;
    shrinker.shrink(picture, display);
    ASSERT_EQ(picture.frame->height, display.height);
    EXPECT_EQ(picture.whole_size, (PictureSize{1920, 1080}));
    EXPECT_EQ(middle_pixel(picture), whole);
}

INSTANTIATE_TEST_SUITE_P(Matrices, ShrunkPicture,
                         testing::Values(AVCOL_SPC_UNSPECIFIED, AVCOL_SPC_BT709, AVCOL_SPC_SMPTE170M,
                                         AVCOL_SPC_BT2020_NCL));

TEST(PictureShrinker, LeavesWhatIsNotLargerThanTheDisplay) {
    Picture picture = plain_picture(160, 90);
    PictureShrinker shrinker;
    shrinker.shrink(picture, display);
    EXPECT_EQ(picture.frame->width, 160);
    EXPECT_FALSE(picture.whole_size);
    Picture unknown = plain_picture(1920, 1080);
    shrinker.shrink(unknown, {});
    EXPECT_EQ(unknown.frame->width, 1920);
}

} // namespace
} // namespace velmora
