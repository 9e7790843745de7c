#include "receive/picture_assembler.h"

#include <cstring>
#include <new>
#include <utility>

namespace velmora {

AvPacket PictureAssembler::feed(const AVPacket& part) {
    const bool goes_on = picture_ && (part.pts == AV_NOPTS_VALUE || part.pts == picture_->pts);
    if (!goes_on) {
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

} // namespace velmora
