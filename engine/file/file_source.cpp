#include "file/file_source.h"

#include "diagnostics/log.h"
#include "file/first_streams.h"
#include "file/latin1.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <system_error>
#include <utility>
#include <vector>

namespace velmora {

namespace {

constexpr std::size_t probe_size = std::size_t{64} << 10U;

std::string error_text(int error) {
    return std::generic_category().message(error);
}

/// Throws the reason why a file was not opened, for the user.
[[noreturn]] void refuse(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        throw MissingFile{"it does not exist"};
    case ENAMETOOLONG:
        throw UnplayableFile{"its path is too long"};
    case EACCES:
    case EPERM:
        throw UnplayableFile{"there is no permission to read it"};
    default:
        throw UnplayableFile{error_text(error)};
    }
}

std::chrono::nanoseconds since_epoch(const timespec& time) {
    return std::chrono::seconds{time.tv_sec} + std::chrono::nanoseconds{time.tv_nsec};
}

struct OpenedFile {
    std::string path;
    FileDescriptor descriptor;
};

OpenedFile open_file(const std::string& latin1_path) {
    // O_NONBLOCK: opening a FIFO without a writer must not wait; regular files ignore it.
    constexpr int flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    OpenedFile file{latin1_path, FileDescriptor{::open(latin1_path.c_str(), flags)}};
    if (!file.descriptor && errno == ENOENT) {
        file.path = latin1_to_utf8(latin1_path);
        file.descriptor = FileDescriptor{::open(file.path.c_str(), flags)};
    }
    if (!file.descriptor) {
        refuse(errno);
    }
    return file;
}

void require_regular_file(const FileDescriptor& file) {
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) {
        throw UnplayableFile{error_text(errno)};
    }
    if (S_ISDIR(status.st_mode)) {
        throw UnplayableFile{"it is a folder"};
    }
    if (!S_ISREG(status.st_mode)) {
        throw UnplayableFile{"it is not a regular file"};
    }
    if (status.st_size == 0) {
        throw UnplayableFile{"it is empty"};
    }
}

/// Whether others than this system's processes may write to it, or may be said to.
bool is_remote(const FileDescriptor& file) {
    // Of linux/magic.h and the file systems' own headers; FUSE stands for whatever is behind it.
    constexpr std::array<std::uint32_t, 11> remote{0x6969,     0x517B,     0xFE534D42, 0xFF534D42,
                                                   0x65735546, 0x01021997, 0x00C36400, 0x0BD00BD0,
                                                   0x5346414F, 0x73757245, 0x01161970};
    struct statfs system {};
    return ::fstatfs(file.get(), &system) != 0 ||
           std::ranges::find(remote, static_cast<std::uint32_t>(system.f_type)) != remote.end();
}

} // namespace

FileSource::FileSource(const std::string& latin1_path) {
    OpenedFile opened = open_file(latin1_path);
    path_ = std::move(opened.path);
    file_ = std::move(opened.descriptor);
    require_regular_file(file_);
    is_remote_ = is_remote(file_);
    // Who opens the file for writing while writer() asks is held up for that moment, and the signal that
    // tells of it must not end the process, as the usual one would: nobody listens to this one.
    ::fcntl(file_.get(), F_SETSIG, SIGURG);
    std::vector<std::uint8_t> head(probe_size);
    head.resize(read(0, head));
    const auto layout = detect_packet_layout(head);
    if (!layout) {
        throw UnplayableFile{"there is no transport stream in it"};
    }
    layout_ = *layout;
    first_streams_ = find_first_streams(*this);
}

std::size_t FileSource::read(std::uint64_t offset, std::span<std::uint8_t> bytes) const {
    std::size_t total = 0;
    while (total < bytes.size()) {
        const auto count = ::pread(file_.get(), bytes.data() + total, bytes.size() - total,
                                   static_cast<off_t>(offset + total));
        if (count > 0) {
            total += static_cast<std::size_t>(count);
        } else if (count < 0 && errno == EINTR) {
            continue;
        } else {
            if (count < 0) {
                log_incident("file", "read", "reading failed (" + error_text(errno) + "), taken as the end");
            }
            break;
        }
    }
    return total;
}

FileSource::Writer FileSource::writer() const {
    if (is_remote_) {
        return Writer::not_known;
    }
    // A lease for reading is granted only when nobody has the file open for writing.
    if (::fcntl(file_.get(), F_SETLEASE, F_RDLCK) == 0) {
        ::fcntl(file_.get(), F_SETLEASE, F_UNLCK);
        return Writer::none;
    }
    return errno == EAGAIN ? Writer::present : Writer::not_known;
}

std::chrono::milliseconds FileSource::time_since_writing() const {
    timespec now{};
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0) {
        return std::chrono::hours{1};
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(since_epoch(now) - written_at());
}

std::chrono::nanoseconds FileSource::written_at() const {
    struct stat status {};
    return ::fstat(file_.get(), &status) == 0 ? since_epoch(status.st_mtim) : std::chrono::nanoseconds{0};
}

bool FileSource::is_at_its_path() const {
    struct stat own {};
    struct stat named {};
    return ::fstat(file_.get(), &own) == 0 && ::stat(path_.c_str(), &named) == 0 &&
           own.st_dev == named.st_dev && own.st_ino == named.st_ino;
}

std::uint64_t FileSource::size() const {
    struct stat status {};
    return ::fstat(file_.get(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace velmora
