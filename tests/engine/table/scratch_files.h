// Files that exist for one test.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

/// A folder that is removed with everything in it.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    /// Writes a file and returns its path.
    std::filesystem::path write(const std::string& name, const Bytes& bytes) const;
    /// Writes a file that goes on as a hole up to `size` bytes.
    std::filesystem::path write_sparse(const std::string& name, const Bytes& head, std::uintmax_t size) const;

private:
    std::filesystem::path path_;
};

Bytes read_bytes(const std::filesystem::path& file);
