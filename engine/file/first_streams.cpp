#include "file/first_streams.h"

#include "file/file_source.h"
#include "ts/packet_sync.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace velmora {

namespace {

constexpr std::size_t block_size = std::size_t{64} << 10U;
constexpr std::uint64_t longest_look = std::uint64_t{4} << 20U;

} // namespace

std::shared_ptr<const StreamSelection> find_first_streams(const FileSource& source) {
    ProgrammeChooser chooser;
    PacketCutter cutter{source.layout().stride};
    const auto choose = [&](const TsPacket& packet) {
        if (!chooser.selection()) {
            chooser.feed(packet);
        }
    };
    std::vector<std::uint8_t> buffer;
    std::size_t kept = 0;
    std::uint64_t offset = source.layout().first_sync;
    bool is_end = false;
    while (!is_end && !chooser.selection() && offset < longest_look) {
        buffer.resize(kept + block_size);
        const std::size_t count = source.read(offset + kept, std::span{buffer}.subspan(kept));
        is_end = count < block_size;
        const std::size_t available = kept + count;
        const std::size_t used = cutter.cut(std::span{buffer}.first(available), offset, is_end, choose);
        offset += used;
        kept = available - used;
        std::memmove(buffer.data(), buffer.data() + used, kept);
    }
    if (!chooser.selection()) {
        chooser.settle();
    }
    return chooser.has_waited() ? std::make_shared<const StreamSelection>(*chooser.selection()) : nullptr;
}

} // namespace velmora
