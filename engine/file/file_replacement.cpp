#include "file/file_replacement.h"

#include "media/file_descriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora {

namespace {

bool write_all(const FileDescriptor& file, std::span<const std::uint8_t> bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const auto count = ::write(file.get(), bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

} // namespace

bool replace_file(const std::string& path, std::span<const std::uint8_t> bytes, Durability durability) {
    // A name of its own: several may replace one file at the same time.
    std::string part = path + ".XXXXXX";
    constexpr mode_t everybody_may_read = 0644;
    bool is_written = false;
    {
        const FileDescriptor file{::mkostemp(part.data(), O_CLOEXEC)};
        if (!file) {
            return false;
        }
        is_written = ::fchmod(file.get(), everybody_may_read) == 0 && write_all(file, bytes) &&
                     (durability == Durability::in_time || ::fsync(file.get()) == 0);
    }
    if (is_written && ::rename(part.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    ::unlink(part.c_str());
    errno = reason;
    return false;
}

} // namespace velmora
