#include "record/recording.h"

#include "file/latin1.h"
#include "record/recorder.h"
#include "record/recording_name.h"
#include "ts/ts_packet.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velmora {

namespace {

constexpr mode_t everybody_may_read = 0644;
/// Recordings of one name; beyond them something else is wrong.
constexpr int most_of_a_name = 10'000;

std::string error_text(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return "the disk is full";
    case EACCES:
    case EPERM:
    case EROFS:
        return "it is not writable";
    default:
        break;
    }
    return std::generic_category().message(error);
}

bool is_directory(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

Recording::Recording(const std::string& latin1_directory, const std::string& latin1_name, bool writes_index,
                     int first_number) {
    create(latin1_directory, latin1_name, first_number);
    // Left behind by a recording of this name that was deleted.
    ::unlink((path_ + ".tags").c_str());
    ::unlink((path_ + ".idx").c_str());
    if (writes_index) {
        sidecar_.emplace(path_);
    }
}

void Recording::create(const std::string& latin1_directory, const std::string& latin1_name,
                       int first_number) {
    const std::string utf8_directory = latin1_to_utf8(latin1_directory);
    // One way of writing for directory and name, or players that try both ways would find neither.
    const bool is_taken_as_it_is = latin1_directory != utf8_directory && is_directory(latin1_directory);
    const std::string directory = is_taken_as_it_is ? latin1_directory : utf8_directory;
    const std::string name = is_taken_as_it_is ? latin1_name : latin1_to_utf8(latin1_name);
    if (!is_directory(directory)) {
        throw RecordingError{"there is no folder " + directory};
    }
    int number = first_number - 1;
    do {
        ++number;
        path_ = directory + (directory.ends_with('/') ? "" : "/") + numbered_name(name, number);
        file_ = FileDescriptor{
            ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, everybody_may_read)};
    } while (!file_ && errno == EEXIST && number < first_number + most_of_a_name);
    if (!file_) {
        throw RecordingError{path_ + " cannot be created: " + error_text(errno)};
    }
}

void Recording::write(std::span<const std::uint8_t> packets) {
    const std::uint64_t offset = bytes_;
    append_all(packets);
    look_at(packets, offset);
    struct stat status {};
    if (::fstat(file_.get(), &status) == 0 && status.st_nlink == 0) {
        throw RecordingError{path_ + " was deleted"};
    }
}

void Recording::append_all(std::span<const std::uint8_t> packets) {
    std::size_t written = 0;
    while (written < packets.size()) {
        const auto count = ::write(file_.get(), packets.data() + written, packets.size() - written);
        if (count < 0 && errno != EINTR) {
            const int reason = errno;
            const std::size_t whole = written - written % ts_packet_size;
            if (::ftruncate(file_.get(), static_cast<off_t>(bytes_ + whole)) == 0) {
                written = whole;
            }
            look_at(packets.first(whole), bytes_);
            bytes_ += written;
            throw RecordingError{path_ + " cannot be written: " + error_text(reason)};
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    bytes_ += written;
}

/// Follows the stream in what the file holds now.
void Recording::look_at(std::span<const std::uint8_t> packets, std::uint64_t offset) {
    for (std::size_t at = 0; at + ts_packet_size <= packets.size(); at += ts_packet_size) {
        if (const auto packet = parse_ts_packet(packets.subspan(at).first<ts_packet_size>(), offset + at)) {
            collector_.feed(*packet);
        }
    }
    collector_.publish_extent(false);
    const auto points = index_.take_points();
    if (sidecar_ && !points.empty()) {
        sidecar_->append(points);
    }
}

void Recording::finish() {
    collector_.finish();
    if (sidecar_) {
        const IndexExtent extent = index_.extent();
        sidecar_->append(index_.take_points());
        sidecar_->finish(SidecarExtent{bytes_, extent.end, extent.last_picture});
        sidecar_.reset();
    }
    file_ = FileDescriptor{};
}

} // namespace velmora
