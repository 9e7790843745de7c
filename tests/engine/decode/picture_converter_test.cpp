#include "decode/picture_converter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ostream>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace velmora {
namespace {

AvFrame picture(int width, int height, AVPixelFormat format = AV_PIX_FMT_YUV420P) {
    AvFrame frame = make_frame();
    frame->width = width;
    frame->height = height;
    frame->format = format;
    EXPECT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    return frame;
}

/// A smooth gradient, so that methods differ little.
AvFrame smooth_picture(int width, int height) {
    AvFrame frame = picture(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            frame->data[0][y * frame->linesize[0] + x] = static_cast<std::uint8_t>(30 + 180 * x / width);
        }
    }
    for (int plane = 1; plane < 3; ++plane) {
        for (int y = 0; y < (height + 1) / 2; ++y) {
            for (int x = 0; x < (width + 1) / 2; ++x) {
                frame->data[plane][y * frame->linesize[plane] + x] =
                    static_cast<std::uint8_t>(plane == 1 ? 100 + 50 * y / height : 120 + 30 * x / width);
            }
        }
    }
    return frame;
}

/// BT.601 limited range by the textbook.
std::array<double, 3> textbook_rgb(const AVFrame& frame, int x, int y) {
    const auto sample = [&](int plane, int column, int row) {
        return frame.data[plane][row * frame.linesize[plane] + column];
    };
    const double luma = 1.164383 * (sample(0, x, y) - 16);
    const double blue = sample(1, x / 2, y / 2) - 128;
    const double red = sample(2, x / 2, y / 2) - 128;
    std::array<double, 3> rgb{luma + 1.596027 * red, luma - 0.391762 * blue - 0.812968 * red,
                              luma + 2.017232 * blue};
    for (double& colour : rgb) {
        colour = std::clamp(colour, 0.0, 255.0);
    }
    return rgb;
}

double mean_difference(const AVFrame& frame, const RgbPicture& rgb, int first_column) {
    double sum = 0;
    int count = 0;
    for (int y = 0; y < frame.height; ++y) {
        for (int x = first_column; x < frame.width; ++x) {
            const auto expected = textbook_rgb(frame, x, y);
            for (std::size_t colour = 0; colour < 3; ++colour) {
                const std::size_t at = static_cast<std::size_t>(y * rgb.pitch + 3 * x) + colour;
                sum += std::abs(expected[colour] - rgb.bytes[at]);
                ++count;
            }
        }
    }
    return sum / count;
}

class Widths : public testing::TestWithParam<int> {};

TEST_P(Widths, EveryColumnIsRight) {
    const int width = GetParam();
    const AvFrame frame = smooth_picture(width, 64);
    PictureConverter converter;
    const RgbPicture rgb = converter.convert(*frame, {width, 64});
    ASSERT_EQ(rgb.pitch, picture_pitch(width));
    ASSERT_EQ(rgb.bytes.size(), static_cast<std::size_t>(rgb.pitch) * 64);
    EXPECT_LE(mean_difference(*frame, rgb, 0), 2.0);
    EXPECT_LE(mean_difference(*frame, rgb, std::max(0, width - 8)), 2.0) << "the last columns";
}

INSTANTIATE_TEST_SUITE_P(All, Widths,
                         testing::Values(16, 17, 18, 19, 350, 702, 718, 720, 722, 854, 1022, 1366, 1910, 1914,
                                         1916, 1918, 1920));

struct Colour {
    AVColorSpace space;
    AVColorRange range;
    int height;
    std::array<int, 3> yuv;
    std::array<int, 3> rgb;
};

/// As in "bt709_tv_64_lines_162_44_142".
void PrintTo(const Colour& colour, std::ostream* out) {
    *out << av_color_space_name(colour.space) << '_' << av_color_range_name(colour.range) << '_'
         << colour.height << "_lines";
    for (const int value : colour.yuv) {
        *out << '_' << value;
    }
}

class Colours : public testing::TestWithParam<Colour> {};

TEST_P(Colours, ComeOutAsTheStreamAnnouncesThem) {
    const Colour& colour = GetParam();
    AvFrame frame = picture(64, colour.height);
    frame->colorspace = colour.space;
    frame->color_range = colour.range;
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = plane == 0 ? colour.height : colour.height / 2;
        std::fill_n(frame->data[plane], static_cast<std::ptrdiff_t>(rows) * frame->linesize[plane],
                    static_cast<std::uint8_t>(colour.yuv[static_cast<std::size_t>(plane)]));
    }
    PictureConverter converter;
    const RgbPicture rgb = converter.convert(*frame, {64, colour.height});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(rgb.bytes[i], colour.rgb[i], 3) << "colour " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Bars, Colours,
    testing::Values(
        // 75 % yellow and blue bars.
        Colour{AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, 64, {162, 44, 142}, {191, 191, 0}},
        Colour{AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 64, {168, 44, 136}, {191, 191, 0}},
        Colour{AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 64, {28, 212, 120}, {0, 0, 191}},
        Colour{AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, 64, {162, 44, 142}, {191, 191, 0}},
        Colour{AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, 720, {168, 44, 136}, {191, 191, 0}},
        Colour{AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 64, {128, 128, 128}, {128, 128, 128}},
        Colour{AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 64, {255, 128, 128}, {255, 255, 255}}),
    testing::PrintToStringParamName());

struct ScaledSize : PictureSize {};

void PrintTo(const ScaledSize& size, std::ostream* out) {
    *out << size.width << 'x' << size.height;
}

class Scaling : public testing::TestWithParam<ScaledSize> {};

TEST_P(Scaling, ShowsTheSamePlacesInAnotherSize) {
    const AvFrame frame = smooth_picture(640, 360);
    PictureConverter converter;
    const PictureSize size = GetParam();
    const RgbPicture scaled = converter.convert(*frame, size);
    ASSERT_EQ(scaled.size, size);
    ASSERT_EQ(scaled.pitch, picture_pitch(size.width));
    ASSERT_EQ(scaled.bytes.size(), static_cast<std::size_t>(scaled.pitch * size.height));
    for (const int eighth : {0, 1, 4, 7, 8}) {
        const int x = std::min(size.width * eighth / 8, size.width - 1);
        const int y = std::min(size.height * eighth / 8, size.height - 1);
        const auto expected =
            textbook_rgb(*frame, (2 * x + 1) * 320 / size.width, (2 * y + 1) * 180 / size.height);
        const auto at = static_cast<std::size_t>(y) * static_cast<std::size_t>(scaled.pitch) +
                        static_cast<std::size_t>(3 * x);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(scaled.bytes[at + i], expected[i], 5) << x << ", " << y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, Scaling,
                         testing::Values(ScaledSize{{350, 197}}, ScaledSize{{351, 198}}, ScaledSize{{64, 36}},
                                         ScaledSize{{720, 405}}, ScaledSize{{1279, 719}},
                                         ScaledSize{{640, 359}}, ScaledSize{{1024, 576}}),
                         testing::PrintToStringParamName());

TEST(PictureConverter, FollowsPicturesThatChange) {
    PictureConverter converter;
    for (const AVPixelFormat format : {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV422P, AV_PIX_FMT_YUV420P10,
                                       AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_GRAY8}) {
        for (const int width : {64, 98}) {
            const AvFrame frame = picture(width, 50, format);
            EXPECT_FALSE(converter.convert(*frame, {width, 50}).bytes.empty());
        }
    }
}

} // namespace
} // namespace velmora
