// Marked seconds of a file.
#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <string>

namespace velmora {

/// Kept beside the file in `<file>.tags`: text, one position in whole seconds a line, each once and in order.
/// Where nothing can be written it lives in memory. Thread-safe.
class TagList {
public:
    /// Reads what was marked before; lines that are no position are passed over.
    /// @param file_path of the marked file
    explicit TagList(const std::string& file_path);

    /// Not written before the next save().
    void mark(int second);
    /// @return nothing behind the last one
    std::optional<int> at(int index) const;
    /// Adds what was marked since the last call, if anything, to what the file holds; the tags of before
    /// survive every failure.
    void save();

private:
    void load();

    const std::string path_; ///< of the tags
    mutable std::mutex mutex_;
    std::set<int> seconds_; ///< protected by mutex_
    bool unsaved_{false};   ///< protected by mutex_
};

} // namespace velmora
