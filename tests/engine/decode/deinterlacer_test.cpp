#include "decode/deinterlacer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace velmora {
namespace {

constexpr int width = 128;
constexpr int height = 48;
constexpr std::uint8_t dark = 40;
constexpr std::uint8_t light = 200;

std::uint8_t* row(const AVFrame& frame, int plane, int y) {
    return frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
}

/// A vertical edge that stands at `edge` in the top field and eight columns further in the bottom field.
AvFrame combed(int edge, std::int64_t pts, int rows = height, bool interlaced = true) {
    AvFrame frame = make_frame();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = width;
    frame->height = rows;
    frame->sample_aspect_ratio = {16, 11};
    frame->pts = pts;
    frame->interlaced_frame = interlaced ? 1 : 0;
    frame->top_field_first = 1;
    if (av_frame_get_buffer(frame.get(), 0) < 0) {
        throw std::bad_alloc{};
    }
    for (int y = 0; y < rows; ++y) {
        const int field_edge = edge + (y % 2) * 8;
        for (int x = 0; x < width; ++x) {
            frame->data[0][y * frame->linesize[0] + x] = x < field_edge ? light : dark;
        }
        for (const int plane : {1, 2}) {
            std::fill_n(row(*frame, plane, y / 2), width / 2, std::uint8_t{128});
        }
    }
    return frame;
}

/// Mean difference between rows that are neighbours.
double combing(const AVFrame& frame) {
    double sum = 0;
    for (int y = 0; y + 1 < frame.height; ++y) {
        for (int x = 0; x < frame.width; ++x) {
            const std::uint8_t* const at = row(frame, 0, y) + x;
            sum += std::abs(at[0] - at[frame.linesize[0]]);
        }
    }
    return sum / (static_cast<double>(frame.height - 1) * frame.width);
}

std::vector<std::int64_t> times(const std::vector<AvFrame>& pictures) {
    std::vector<std::int64_t> all;
    all.reserve(pictures.size());
    for (const AvFrame& picture : pictures) {
        all.push_back(picture->pts);
    }
    return all;
}

class DeinterlacerTest : public testing::Test {
protected:
    void filter(AvFrame picture) { deinterlacer_.filter(std::move(picture), sink_); }

    Deinterlacer deinterlacer_;
    std::vector<AvFrame> out_;
    Deinterlacer::Sink sink_{[this](AvFrame picture) { out_.push_back(std::move(picture)); }};
};

TEST_F(DeinterlacerTest, RemovesTheCombFromEachPictureAndKeepsItsTime) {
    const double before = combing(*combed(16, 0));
    for (int i = 0; i < 6; ++i) {
        filter(combed(8 + 16 * i, 3600 * i + 7));
    }
    deinterlacer_.drain(sink_);
    EXPECT_EQ(times(out_), (std::vector<std::int64_t>{7, 3607, 7207, 10807, 14407, 18007}));
    for (const AvFrame& picture : out_) {
        EXPECT_LT(combing(*picture), before / 4);
        EXPECT_EQ(picture->interlaced_frame, 0);
        EXPECT_EQ(picture->width, width);
        EXPECT_EQ(picture->sample_aspect_ratio.num, 16);
    }
}

TEST_F(DeinterlacerTest, PassesProgressivePicturesAtOnceAndUntouched) {
    for (int i = 0; i < 3; ++i) {
        AvFrame picture = combed(20, std::int64_t{3600} * i, height, false);
        const std::uint8_t* const samples = picture->data[0];
        filter(std::move(picture));
        ASSERT_EQ(out_.size(), static_cast<std::size_t>(i) + 1);
        EXPECT_EQ(out_.back()->data[0], samples);
    }
}

TEST_F(DeinterlacerTest, LeavesProgressivePicturesAmongInterlacedOnesAsTheyAre) {
    const double before = combing(*combed(20, 0));
    for (int i = 0; i < 6; ++i) {
        filter(combed(20, std::int64_t{3600} * i, height, i % 2 == 0));
    }
    deinterlacer_.drain(sink_);
    ASSERT_EQ(out_.size(), 6U);
    for (std::size_t i = 1; i < 6; i += 2) {
        EXPECT_DOUBLE_EQ(combing(*out_[i]), before);
    }
}

TEST_F(DeinterlacerTest, GivesNothingOfTheOldPlaceAfterAFlush) {
    filter(combed(8, 0));
    filter(combed(8, 3600));
    out_.clear();
    deinterlacer_.flush();
    filter(combed(8, 900000));
    filter(combed(8, 903600));
    deinterlacer_.drain(sink_);
    EXPECT_EQ(times(out_), (std::vector<std::int64_t>{900000, 903600}));
    out_.clear();
    deinterlacer_.drain(sink_);
    EXPECT_TRUE(out_.empty());
}

TEST_F(DeinterlacerTest, FollowsAChangeOfSizeWithoutLosingAPicture) {
    filter(combed(8, 0));
    filter(combed(8, 3600));
    filter(combed(8, 7200, height * 2));
    filter(combed(8, 10800, height * 2));
    filter(combed(8, 14400, height, false));
    EXPECT_EQ(times(out_), (std::vector<std::int64_t>{0, 3600, 7200, 10800, 14400}));
    EXPECT_EQ(out_[2]->height, height * 2);
    EXPECT_LT(combing(*out_[2]), combing(*combed(8, 0)) / 4);
}

TEST_F(DeinterlacerTest, CanBeLeftOutAndTakenUpAgain) {
    filter(combed(8, 0));
    filter(combed(8, 3600));
    deinterlacer_.set_enabled(false);
    filter(combed(8, 7200));
    EXPECT_EQ(times(out_), (std::vector<std::int64_t>{0, 3600, 7200}));
    EXPECT_EQ(out_[2]->interlaced_frame, 1);
    deinterlacer_.set_enabled(true);
    filter(combed(8, 10800));
    filter(combed(8, 14400));
    ASSERT_EQ(out_.size(), 4U);
    EXPECT_EQ(out_[3]->interlaced_frame, 0);
}

TEST_F(DeinterlacerTest, PassesPicturesThatItCannotWorkOn) {
    filter(combed(8, 0, 2));
    ASSERT_EQ(out_.size(), 1U);
    EXPECT_EQ(out_[0]->height, 2);
}

} // namespace
} // namespace velmora
