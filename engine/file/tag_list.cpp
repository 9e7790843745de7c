#include "file/tag_list.h"

#include "diagnostics/log.h"
#include "file/file_replacement.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <span>
#include <sys/stat.h>
#include <system_error>

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
        load(); // who records the file that is played marks it too
        for (const int second : seconds_) {
            text += std::to_string(second) + '\n';
        }
    }
    const std::span characters{reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
    if (!replace_file(path_, characters, Durability::at_once)) {
        log_incident("file", "tags",
                     path_ + " cannot be written: " + std::generic_category().message(errno) +
                         ", the tags stay in memory");
    }
}

} // namespace velmora
