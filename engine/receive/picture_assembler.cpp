#include "receive/picture_assembler.h"

#include "decode/access_unit.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <utility>

namespace velmora {

namespace {

/// Pictures follow each other by more than these 4 ms; the video clock of RTP has 90 kHz.
constexpr std::int64_t least_interval = 360;

std::span<const std::uint8_t> bytes_of(const AVPacket& packet) {
    return {packet.data, static_cast<std::size_t>(packet.size)};
}

} // namespace

AvPacket PictureAssembler::feed(const AVPacket& part) {
    if (!picture_ || !goes_on_with(part)) {
        AvPacket begun{av_packet_clone(&part)};
        if (!begun) {
            throw std::bad_alloc{};
        }
        return std::exchange(picture_, std::move(begun));
    }
    const int size = picture_->size;
    if (av_grow_packet(picture_.get(), part.size) < 0) {
        throw std::bad_alloc{};
    }
    std::memcpy(picture_->data + size, part.data, static_cast<std::size_t>(part.size));
    return nullptr;
}

bool PictureAssembler::goes_on_with(const AVPacket& part) const {
    if (part.pts == AV_NOPTS_VALUE || std::abs(part.pts - picture_->pts) < least_interval) {
        return true;
    }
    return !may_begin_next(codec_, bytes_of(*picture_), bytes_of(part));
}

} // namespace velmora
