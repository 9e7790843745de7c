#include "receive/picture_assembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace velmora {
namespace {

using Bytes = std::vector<std::uint8_t>;

const Bytes delimiter{0, 0, 0, 1, 0x09, 0xF0};
const Bytes begin_of_slice{0, 0, 0, 1, 0x65, 0x88, 0x84};
const Bytes rest_of_slice{0x21, 0x43, 0x65};

AvPacket part(const Bytes& bytes, std::int64_t time) {
    AvPacket packet = make_packet();
    EXPECT_EQ(av_new_packet(packet.get(), static_cast<int>(bytes.size())), 0);
    std::ranges::copy(bytes, packet->data);
    packet->pts = time;
    return packet;
}

Bytes bytes_of(const AvPacket& packet) {
    return packet ? Bytes(packet->data, packet->data + packet->size) : Bytes{};
}

Bytes joined(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

class PictureAssembly : public testing::Test {
protected:
    /// @return the bytes of the picture that was complete then
    Bytes feed(const Bytes& bytes, std::int64_t time) {
        const AvPacket picture = assembler_.feed(*part(bytes, time));
        if (picture) {
            time_ = picture->pts;
        }
        return bytes_of(picture);
    }

    PictureAssembler assembler_{AV_CODEC_ID_H264};
    std::int64_t time_{-1}; ///< of the picture that was complete last
};

TEST_F(PictureAssembly, EndsAPictureWithTheTimeOfTheNextOne) {
    EXPECT_TRUE(feed(delimiter, 3600).empty());
    EXPECT_TRUE(feed(begin_of_slice, 3600).empty());
    EXPECT_TRUE(feed(rest_of_slice, AV_NOPTS_VALUE).empty());
    EXPECT_EQ(feed(delimiter, 7200), joined(joined(delimiter, begin_of_slice), rest_of_slice));
    EXPECT_EQ(time_, 3600);
}

TEST_F(PictureAssembly, TellsPicturesApartThatHaveNoDelimiter) {
    EXPECT_TRUE(feed(begin_of_slice, 3600).empty());
    EXPECT_EQ(feed(begin_of_slice, 7200), begin_of_slice);
}

TEST_F(PictureAssembly, ASenderThatTellsItsTimeBehindADelimiterDoesNotCutThePicture) {
    for (const std::int64_t shift : {-1, 1, 90'000}) {
        assembler_ = PictureAssembler{AV_CODEC_ID_H264};
        EXPECT_TRUE(feed(delimiter, 3600).empty());
        EXPECT_TRUE(feed(begin_of_slice, 3600 + shift).empty()) << shift;
        EXPECT_TRUE(feed(rest_of_slice, 3600 + shift).empty()) << shift;
        EXPECT_EQ(feed(delimiter, 7200 + shift), joined(joined(delimiter, begin_of_slice), rest_of_slice));
        EXPECT_EQ(time_, 3600);
    }
}

TEST_F(PictureAssembly, ASenderThatTellsItsTimeWithinASliceDoesNotCutThePicture) {
    for (const std::int64_t shift : {-1, 1, 90'000}) {
        assembler_ = PictureAssembler{AV_CODEC_ID_H264};
        EXPECT_TRUE(feed(begin_of_slice, 3600).empty());
        EXPECT_TRUE(feed(rest_of_slice, 3600 + shift).empty()) << shift;
        EXPECT_EQ(feed(begin_of_slice, 7200 + shift), joined(begin_of_slice, rest_of_slice));
    }
}

TEST_F(PictureAssembly, SlicesOfOnePictureMayDifferByAnInstant) {
    EXPECT_TRUE(feed(begin_of_slice, 3600).empty());
    EXPECT_TRUE(feed(begin_of_slice, 3601).empty());
    EXPECT_EQ(feed(begin_of_slice, 7200), joined(begin_of_slice, begin_of_slice));
}

} // namespace
} // namespace velmora
