#include "file/packet_reader.h"

#include "diagnostics/log.h"

#include <cstring>
#include <string>
#include <utility>

namespace velmora {

namespace {

void tell_loss(std::uint64_t offset, std::uint64_t length) {
    log_incident("file", "sync",
                 "no packets in " + std::to_string(length) + " bytes at byte " + std::to_string(offset) +
                     ", went on behind them");
}

} // namespace

PacketReader::PacketReader(std::shared_ptr<const FileSource> source, std::size_t block_size, Losses losses)
    : source_{std::move(source)}, cutter_{source_->layout().stride, losses == Losses::told
                                                                        ? PacketCutter::LossSink{tell_loss}
                                                                        : PacketCutter::LossSink{}},
      block_size_{block_size}, read_at_{source_->layout().first_sync} {}

void PacketReader::seek(std::uint64_t offset) {
    cutter_.restart();
    kept_ = 0;
    read_at_ = offset;
}

bool PacketReader::read_block(const PacketCutter::Sink& sink, bool may_grow) {
    buffer_.resize(kept_ + block_size_);
    const std::size_t count = source_->read(read_at_, std::span{buffer_}.subspan(kept_));
    const bool is_end = count < block_size_;
    const std::size_t available = kept_ + count;
    const std::uint64_t offset = read_at_ - kept_;
    read_at_ += count;
    const std::size_t used =
        cutter_.cut(std::span{buffer_}.first(available), offset, is_end && !may_grow, sink);
    kept_ = available - used;
    std::memmove(buffer_.data(), buffer_.data() + used, kept_);
    return !is_end;
}

} // namespace velmora
