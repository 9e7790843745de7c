#include "support/block_pattern.h"

#include "support/stream_maker.h"

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <vector>

namespace {

using Pipe = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

constexpr int width = 320;
constexpr int height = 180;
constexpr int bytes_per_row = width * 3;

/** The numbers of a stream's pictures, scaled down to 320 x 180 by ffmpeg. */
std::vector<std::uint32_t> numbers_of(const std::string& stream) {
    const std::string command = "ffmpeg -nostdin -loglevel error -i '" + stream +
                                "' -vf scale=320:180:flags=bilinear -f rawvideo -pix_fmt rgb24 -";
    const Pipe pipe(popen(command.c_str(), "re"), pclose);
    std::vector<std::uint8_t> picture(static_cast<std::size_t>(bytes_per_row) * height);
    std::vector<std::uint32_t> numbers;
    while (std::fread(picture.data(), 1, picture.size(), pipe.get()) == picture.size()) {
        const auto number = pattern::read_number({picture.data(), width, height, bytes_per_row});
        numbers.push_back(number.value_or(0xFFFFFFFF));
    }
    return numbers;
}

class BlockPattern : public testing::TestWithParam<StreamRecipe> {};

TEST_P(BlockPattern, SurvivesEncodingAndScalingDown) {
    const auto stream = make_stream(GetParam());
    ASSERT_FALSE(stream.empty());
    std::vector<std::uint32_t> expected(static_cast<std::size_t>(GetParam().fps) *
                                        static_cast<std::size_t>(GetParam().duration));
    std::iota(expected.begin(), expected.end(), static_cast<std::uint32_t>(GetParam().first));
    EXPECT_EQ(numbers_of(stream), expected);
}

INSTANTIATE_TEST_SUITE_P(Codecs, BlockPattern,
                         testing::Values(StreamRecipe{.duration = 2, .first = 0xFFFF0},
                                         StreamRecipe{.codec = "hevc", .bitrate = "500k", .duration = 2},
                                         StreamRecipe{.codec = "mpeg2",
                                                      .width = 720,
                                                      .height = 576,
                                                      .bitrate = "4M",
                                                      .interlaced = true,
                                                      .duration = 2}),
                         testing::PrintToStringParamName());

TEST(BlockPatternReader, ReadsNothingFromAPictureWithoutPattern) {
    const std::vector<std::uint8_t> grey(static_cast<std::size_t>(bytes_per_row) * height, 128);
    EXPECT_FALSE(pattern::read_number({grey.data(), width, height, bytes_per_row}).has_value());
}

TEST(BlockPatternReader, ReadsNothingFromTwoPicturesTornBetweenItsRows) {
    std::vector<std::uint8_t> torn(static_cast<std::size_t>(width) * height);
    pattern::draw_number(torn.data(), width, height, width, 5);
    std::vector<std::uint8_t> next(torn.size());
    pattern::draw_number(next.data(), width, height, width, 6);
    const auto split = static_cast<std::ptrdiff_t>(pattern::inverse_row * height / pattern::rows) * width;
    std::copy(next.begin() + split, next.end(), torn.begin() + split);
    std::vector<std::uint8_t> rgb;
    for (const std::uint8_t sample : torn) {
        rgb.insert(rgb.end(), 3, sample);
    }
    EXPECT_FALSE(pattern::read_number({rgb.data(), width, height, bytes_per_row}).has_value());
}

TEST(BlockPatternReader, ReadsNothingFromTheRimOfAPictureInABlackWindow) {
    constexpr std::ptrdiff_t rim = 100;
    std::vector<std::uint8_t> window(static_cast<std::size_t>(width * (height + rim)), pattern::black);
    constexpr std::uint8_t grey = 128;
    std::fill(window.begin() + rim * width, window.end(), grey);
    pattern::draw_number(window.data() + rim * width, width, height, width, 0);
    std::vector<std::uint8_t> rgb;
    for (const std::uint8_t sample : window) {
        rgb.insert(rgb.end(), 3, sample);
    }
    for (std::ptrdiff_t top = 0; top < rim; ++top) {
        const auto number =
            pattern::read_number({rgb.data() + top * bytes_per_row, width, height, bytes_per_row});
        if (rim - top >= height / pattern::rows) {
            EXPECT_FALSE(number.has_value()) << top;
        }
    }
}

} // namespace
