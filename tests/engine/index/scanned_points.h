// What a scan of a whole file finds.
#pragma once

#include "file/packet_reader.h"
#include "index/access_point_collector.h"

#include <filesystem>
#include <memory>
#include <vector>

namespace velmora::test {

inline std::shared_ptr<const FileSource> open(const std::filesystem::path& file) {
    return std::make_shared<const FileSource>(file.string());
}

inline void scan(const std::shared_ptr<const FileSource>& source, AccessPointIndex& index) {
    AccessPointCollector collector{index};
    PacketReader reader{source, std::size_t{1} << 20U};
    while (reader.read_block([&](const TsPacket& packet) { collector.feed(packet); })) {
    }
    collector.finish();
}

inline std::vector<AccessPoint> points_of(const std::filesystem::path& file) {
    AccessPointIndex index;
    scan(open(file), index);
    return index.points();
}

inline bool same(const AccessPoint& a, const AccessPoint& b) {
    return a.offset == b.offset && a.anchor.stream == b.anchor.stream &&
           a.anchor.position == b.anchor.position && a.presentation == b.presentation &&
           a.clean_from == b.clean_from && *a.streams == *b.streams;
}

} // namespace velmora::test
