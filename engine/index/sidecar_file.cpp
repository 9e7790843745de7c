#include "index/sidecar_file.h"

#include "diagnostics/log.h"
#include "file/file_replacement.h"
#include "file/packet_reader.h"
#include "index/access_point_collector.h"
#include "index/bisector.h"
#include "media/file_descriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <vector>

namespace velmora {

namespace {

/// Access points to look for in the file.
constexpr std::size_t points_checked = 16;
constexpr std::size_t check_block_size = std::size_t{16} << 10U;
/// How far from its beginning to look for what makes a unit an access point, bytes.
constexpr std::uint64_t longest_look = std::uint64_t{1} << 20U;
/// Years of recording.
constexpr off_t longest_index = off_t{256} << 20U;

std::string error_text(int error) {
    return std::generic_category().message(error);
}

struct StoredIndex {
    std::vector<std::uint8_t> bytes;
    std::chrono::nanoseconds written_at{0};
};

/// @return nothing when there is none
std::optional<StoredIndex> read_index(const std::string& path) {
    // O_NONBLOCK: opening a FIFO without a writer must not wait.
    const FileDescriptor file{::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)};
    if (!file && errno == ENOENT) {
        return std::nullopt;
    }
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0) {
        throw UnusableSidecar{"cannot be read: " + error_text(errno)};
    }
    if (!S_ISREG(status.st_mode) || status.st_size > longest_index) {
        throw UnusableSidecar{"is no index"};
    }
    StoredIndex index;
    index.written_at =
        std::chrono::seconds{status.st_mtim.tv_sec} + std::chrono::nanoseconds{status.st_mtim.tv_nsec};
    index.bytes.resize(static_cast<std::size_t>(status.st_size));
    std::size_t total = 0;
    while (total < index.bytes.size()) {
        const auto count = ::read(file.get(), index.bytes.data() + total, index.bytes.size() - total);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw UnusableSidecar{"cannot be read: " + error_text(errno)};
        }
        if (count == 0) {
            break;
        }
        total += static_cast<std::size_t>(count);
    }
    index.bytes.resize(total);
    return index;
}

/// Whether the file has this very access point.
bool is_in_file(const std::shared_ptr<const FileSource>& source, const AccessPoint& point) {
    AccessPointIndex found;
    AccessPointCollector collector{found, point.streams, point.anchor};
    PacketReader reader{source, check_block_size, PacketReader::Losses::silent};
    reader.seek(point.offset);
    const auto feed = [&](const TsPacket& packet) { collector.feed(packet); };
    while (found.size() == 0 && reader.offset() < point.offset + longest_look && reader.read_block(feed)) {
    }
    collector.finish();
    const auto first = found.find(point.presentation, point.offset + 1);
    return first && first->anchor.stream == point.anchor.stream && first->presentation == point.presentation;
}

bool belongs_to(const std::shared_ptr<const FileSource>& source, const std::vector<AccessPoint>& points) {
    const std::size_t last = points.size() - 1;
    const std::size_t checks = std::min(points_checked, points.size());
    for (std::size_t i = 0; i < checks; ++i) {
        const std::size_t number = checks > 1 ? last * i / (checks - 1) : last;
        if (!is_in_file(source, points[number])) {
            return false;
        }
    }
    return true;
}

SidecarContents validated(const std::shared_ptr<const FileSource>& source, const StoredIndex& stored) {
    SidecarContents contents = decode_sidecar(stored.bytes);
    if (contents.points.empty()) {
        return contents;
    }
    const std::uint64_t size = source->size();
    if (contents.extent && contents.extent->covered > size) {
        throw UnusableSidecar{"tells of a longer file"};
    }
    if (contents.extent && contents.extent->covered < size) {
        contents.extent.reset();
    }
    if (contents.extent && stored.written_at < source->written_at()) {
        throw UnusableSidecar{"is older than the file"};
    }
    if (!belongs_to(source, contents.points)) {
        throw UnusableSidecar{"is the index of another file"};
    }
    return contents;
}

/// A recorder locks the index that it writes.
bool is_being_written(const std::string& path) {
    const FileDescriptor file{::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)};
    return file && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

} // namespace

std::string sidecar_path(const std::string& file_path) {
    return file_path + ".idx";
}

std::optional<SidecarContents> load_sidecar(const std::shared_ptr<const FileSource>& source) {
    const std::string path = sidecar_path(source->path());
    try {
        const auto stored = read_index(path);
        if (!stored) {
            return std::nullopt;
        }
        SidecarContents contents = validated(source, *stored);
        if (contents.is_damaged) {
            log_incident("index", "sidecar",
                         path + " is damaged behind its access point " +
                             std::to_string(contents.points.size()) + ", scanned from there on");
        }
        return contents.points.empty() ? std::nullopt : std::optional{std::move(contents)};
    } catch (const UnusableSidecar& error) {
        log_incident("index", "sidecar", path + ' ' + error.what() + ", ignored");
        return std::nullopt;
    }
}

void save_sidecar(const FileSource& source, const AccessPointIndex& index, std::uint64_t covered) {
    const IndexExtent extent = index.extent();
    const std::string path = sidecar_path(source.path());
    if (covered < Bisector::worthwhile || !source.is_at_its_path() || is_being_written(path)) {
        return;
    }
    SidecarEncoder encoder;
    for (const AccessPoint& point : index.points()) {
        encoder.add(point);
    }
    encoder.add(SidecarExtent{covered, extent.end, extent.last_picture});
    if (!replace_file(path, encoder.take(), Durability::in_time)) {
        log_incident("index", "sidecar",
                     path + " cannot be written: " + error_text(errno) + ", the file is scanned every time");
    }
}

} // namespace velmora
