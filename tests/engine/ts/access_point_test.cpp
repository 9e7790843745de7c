#include "ts/access_point.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmora {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes units(std::initializer_list<Bytes> parts) {
    Bytes bytes;
    for (const Bytes& part : parts) {
        bytes.insert(bytes.end(), {0, 0, 1});
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

AccessPointVerdict verdict(AVCodecID codec, const Bytes& bytes, bool is_whole = true) {
    return find_access_point(codec, bytes, is_whole).verdict;
}

TEST(AccessPoint, H264IdrOrRecoveryPoint) {
    EXPECT_EQ(verdict(AV_CODEC_ID_H264, units({{9, 0xF0}, {0x67, 1}, {0x68, 1}, {0x65, 0x88}})),
              AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_H264, units({{9, 0xF0}, {0x41, 0x9A}})), AccessPointVerdict::none);
    // Recovery point with recovery_frame_cnt 4: ue(4) = 00101.
    const auto refresh =
        find_access_point(AV_CODEC_ID_H264, units({{9, 0xF0}, {6, 6, 1, 0x2C, 0x80}, {0x41, 0x9A}}), true);
    EXPECT_EQ(refresh.verdict, AccessPointVerdict::point);
    EXPECT_EQ(refresh.recovery_frames, 4);
    // Another message in front of it.
    EXPECT_EQ(verdict(AV_CODEC_ID_H264, units({{6, 5, 2, 7, 7, 6, 1, 0x84, 0x80}, {0x61, 0x9A}})),
              AccessPointVerdict::point);
}

TEST(AccessPoint, HevcIrap) {
    EXPECT_EQ(verdict(AV_CODEC_ID_HEVC, units({{0x40, 1}, {0x42, 1}, {0x26, 1, 0xAF}})),
              AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_HEVC, units({{0x46, 1}, {0x02, 1, 0xD0}})), AccessPointVerdict::none);
}

TEST(AccessPoint, H263IntraPicture) {
    const auto picture = [](std::initializer_list<std::uint8_t> type) {
        Bytes bytes{0, 0, 0x80, 0x02}; // start code, temporal reference 0
        bytes.insert(bytes.end(), type);
        bytes.resize(12);
        return verdict(AV_CODEC_ID_H263, bytes);
    };
    EXPECT_EQ(picture({0x0C}), AccessPointVerdict::point) << "CIF, INTRA";
    EXPECT_EQ(picture({0x0E}), AccessPointVerdict::none) << "CIF, INTER";
    EXPECT_EQ(picture({0x1C, 0x80, 0, 0x00}), AccessPointVerdict::point) << "extended, INTRA";
    EXPECT_EQ(picture({0x1C, 0x80, 0, 0x04}), AccessPointVerdict::none) << "extended, INTER";
    EXPECT_EQ(picture({0x1C, 0x00}), AccessPointVerdict::point) << "extended as before, INTRA";
    EXPECT_EQ(picture({0x1C, 0x10}), AccessPointVerdict::none) << "extended as before, INTER";
}

TEST(AccessPoint, Mpeg2SequenceHeaderOrIntraPicture) {
    EXPECT_EQ(verdict(AV_CODEC_ID_MPEG2VIDEO, units({{0xB3, 0x14}})), AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_MPEG2VIDEO, units({{0x00, 0x00, 0x08, 0}})), AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_MPEG2VIDEO, units({{0x00, 0x00, 0x10, 0}})), AccessPointVerdict::none);
}

TEST(AccessPoint, WhatNeedsNothingInFrontOfItInOtherCodecs) {
    EXPECT_EQ(verdict(AV_CODEC_ID_MPEG4, units({{0xB0, 1}, {0xB6, 0x10}})), AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_MPEG4, units({{0xB6, 0x50}})), AccessPointVerdict::none);
    EXPECT_EQ(verdict(AV_CODEC_ID_VC1, units({{0x0F, 1}, {0x0D, 1}})), AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_VC1, units({{0x0D, 1}})), AccessPointVerdict::none);
    EXPECT_EQ(verdict(AV_CODEC_ID_CAVS, units({{0xB3, 1}})), AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_CAVS, units({{0xB6, 1}})), AccessPointVerdict::none);
    EXPECT_EQ(verdict(AV_CODEC_ID_DIRAC, {'B', 'B', 'C', 'D', 0x00, 0}), AccessPointVerdict::point);
    EXPECT_EQ(verdict(AV_CODEC_ID_DIRAC, {'B', 'B', 'C', 'D', 0x09, 0}), AccessPointVerdict::none);
    EXPECT_EQ(verdict(AV_CODEC_ID_DIRAC, {'B', 'B', 'C', 'D', 0x08, 0}), AccessPointVerdict::point);
}

TEST(AccessPoint, WaitsForTheFirstSliceWhateverIsCutOff) {
    const Bytes unit = units({{9, 0xF0}, {6, 6, 1, 0x84, 0x80}, {0x67, 1}, {0x41, 0x9A}});
    for (std::size_t size = 0; size < unit.size() - 1; ++size) {
        const Bytes part(unit.begin(), unit.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(verdict(AV_CODEC_ID_H264, part, false), AccessPointVerdict::undecided) << size;
        EXPECT_EQ(verdict(AV_CODEC_ID_H264, part, true), AccessPointVerdict::none) << size;
    }
}

} // namespace
} // namespace velmora
