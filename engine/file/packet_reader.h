// Reads a transport stream file packet by packet from any place on.
#pragma once

#include "file/file_source.h"
#include "ts/packet_sync.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace velmora {

class PacketReader {
public:
    /// What to do about bytes without packets.
    enum class Losses { told, silent };

    /// @param block_size bytes per read
    PacketReader(std::shared_ptr<const FileSource> source, std::size_t block_size,
                 Losses losses = Losses::told);

    /// Goes on at a packet's offset.
    void seek(std::uint64_t offset);
    /// Reads one block and hands on its packets, in order.
    /// @param may_grow what the file ends with may be the beginning of a packet: it waits for the rest
    /// @return false at the end of the file
    bool read_block(const PacketCutter::Sink& sink, bool may_grow = false);
    /// The next block may be the last one.
    bool reaches_end() const { return source_->size() < read_at_ + block_size_; }
    /// Where the next block will be read, bytes.
    std::uint64_t offset() const { return read_at_; }

private:
    std::shared_ptr<const FileSource> source_;
    PacketCutter cutter_;
    std::vector<std::uint8_t> buffer_;
    std::size_t block_size_;
    std::size_t kept_{0}; ///< bytes of the last block that wait for more
    std::uint64_t read_at_{0};
};

} // namespace velmora
