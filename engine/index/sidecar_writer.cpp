#include "index/sidecar_writer.h"

#include "diagnostics/log.h"
#include "index/sidecar_file.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velmora {

namespace {

constexpr mode_t everybody_may_read = 0644;

void tell_failure(const std::string& path) {
    log_incident("index", "sidecar",
                 path + " cannot be written: " + std::generic_category().message(errno) +
                     ", the recording will be scanned");
}

} // namespace

SidecarWriter::SidecarWriter(const std::string& file_path)
    : path_{sidecar_path(file_path)}, file_{::open(path_.c_str(),
                                                   O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC |
                                                       O_NOFOLLOW,
                                                   everybody_may_read)} {
    if (!file_) {
        tell_failure(path_);
        return;
    }
    ::flock(file_.get(), LOCK_EX | LOCK_NB);
    write();
}

void SidecarWriter::append(std::span<const AccessPoint> points) {
    for (const AccessPoint& point : points) {
        encoder_.add(point);
    }
    write();
}

void SidecarWriter::finish(const SidecarExtent& extent) {
    encoder_.add(extent);
    write();
}

void SidecarWriter::write() {
    const auto bytes = encoder_.take();
    std::size_t written = 0;
    while (file_ && written < bytes.size()) {
        const auto count = ::write(file_.get(), bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR) {
            tell_failure(path_);
            // Its readers leave out an unfinished record; nothing may follow it.
            file_ = FileDescriptor{};
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

} // namespace velmora
