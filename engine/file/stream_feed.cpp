#include "file/stream_feed.h"

#include <utility>

namespace velmora {

namespace {

constexpr std::size_t read_block_size = std::size_t{128} << 10U;

} // namespace

StreamFeed::StreamFeed(std::shared_ptr<const FileSource> source)
    : first_streams_{source->first_streams()}, reader_{std::move(source), read_block_size} {
    units_.restart(first_streams_.get(), StreamTimeline{});
}

bool StreamFeed::read_more() {
    if (at_end_) {
        return false;
    }
    const std::uint64_t offset = reader_.offset();
    const bool may_grow = may_grow_ && reader_.reaches_end() && may_grow_();
    const bool goes_on =
        reader_.read_block([this](const TsPacket& packet) { units_.feed(packet); }, may_grow);
    if (!goes_on && may_grow) {
        return reader_.offset() > offset;
    }
    if (!goes_on) {
        units_.finish();
        at_end_ = true;
    }
    return true;
}

void StreamFeed::seek(const std::optional<AccessPoint>& point) {
    at_end_ = false;
    if (point) {
        reader_.seek(point->offset);
        units_.restart(point->streams.get(), StreamTimeline{point->anchor});
    } else {
        reader_.seek(0);
        units_.restart(first_streams_.get(), StreamTimeline{});
    }
}

} // namespace velmora
