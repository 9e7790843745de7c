#include "file/tag_list.h"

#include "diagnostics/log.h"
#include "media/file_descriptor.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace velmora {

namespace {

/// Longer than any list of tags that somebody made; the rest of a larger file is not read.
constexpr std::streamsize longest_file = 1'000'000;

std::optional<int> parse_second(const std::string& line) {
    int second = 0;
    const char* const end = line.data() + line.size();
    const auto [parsed, error] = std::from_chars(line.data(), end, second);
    return error == std::errc{} && parsed == end && second >= 0 ? std::optional{second} : std::nullopt;
}

bool write_all(const FileDescriptor& file, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const auto count = ::write(file.get(), text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return ::fsync(file.get()) == 0;
}

/// The file holds the old or the new text at every moment.
bool replace_file(const std::string& path, const std::string& text) {
    const std::string part = path + ".part";
    constexpr mode_t everybody_may_read = 0644;
    bool is_written = false;
    {
        const FileDescriptor file{
            ::open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, everybody_may_read)};
        is_written = file && write_all(file, text);
    }
    if (is_written && ::rename(part.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    ::unlink(part.c_str());
    errno = reason;
    return false;
}

} // namespace

TagList::TagList(const std::string& file_path) : path_{file_path + ".tags"} {
    load();
}

void TagList::load() {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return;
    }
    std::ifstream file{path_};
    std::string line;
    bool is_damaged = false;
    while (file.tellg() < longest_file && std::getline(file, line)) {
        if (const auto second = parse_second(line)) {
            seconds_.insert(*second);
        } else {
            is_damaged = true;
        }
    }
    if (is_damaged) {
        log_incident("file", "tags", path_ + " has lines that are no position, passed over");
    }
}

void TagList::mark(int second) {
    const std::lock_guard lock{mutex_};
    unsaved_ = seconds_.insert(second).second || unsaved_;
}

std::optional<int> TagList::at(int index) const {
    const std::lock_guard lock{mutex_};
    if (index < 0 || static_cast<std::size_t>(index) >= seconds_.size()) {
        return std::nullopt;
    }
    return *std::next(seconds_.begin(), index);
}

void TagList::save() {
    std::string text;
    {
        const std::lock_guard lock{mutex_};
        if (!unsaved_) {
            return;
        }
        unsaved_ = false;
        for (const int second : seconds_) {
            text += std::to_string(second) + '\n';
        }
    }
    if (!replace_file(path_, text)) {
        log_incident("file", "tags",
                     path_ + " cannot be written: " + std::generic_category().message(errno) +
                         ", the tags stay in memory");
    }
}

} // namespace velmora
