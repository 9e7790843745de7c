// The bytes of a transport stream file.
#pragma once

#include "media/file_descriptor.h"
#include "ts/packet_sync.h"
#include "ts/stream_selection.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace velmora {

/// Why a file cannot be played; what() is the part of a sentence for the user that tells the reason.
class UnplayableFile : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// There is no file of that name.
class MissingFile : public UnplayableFile {
public:
    using UnplayableFile::UnplayableFile;
};

/// An opened regular file in which packets were found. Reading is thread-safe.
class FileSource {
public:
    /// Somebody who has the file open for writing, in this process or another.
    enum class Writer { none, present, not_known };

    /// Opens the file and looks for packets at its beginning; never blocks on pipes or devices.
    /// @param latin1_path tried as it is, then as the same characters in UTF-8
    /// @throws UnplayableFile when it is missing, unreadable, empty, no regular file or no transport stream
    explicit FileSource(const std::string& latin1_path);

    /// Fills `bytes` from `offset` on.
    /// @return the number of bytes read; less than asked for at the end of the file or on a read error
    std::size_t read(std::uint64_t offset, std::span<std::uint8_t> bytes) const;
    /// Current size, bytes.
    std::uint64_t size() const;
    /// Asks the system; it does not know of files on other machines, and tells only the owner.
    Writer writer() const;
    /// How long ago something was written to it, by the file system's word.
    std::chrono::milliseconds time_since_writing() const;
    /// When something was written to it last, by the file system's clock since its epoch.
    std::chrono::nanoseconds written_at() const;
    /// No other file has taken its name.
    bool is_at_its_path() const;
    const PacketLayout& layout() const { return layout_; }
    /// What is played from its beginning on, where that shows only later; else nothing.
    const std::shared_ptr<const StreamSelection>& first_streams() const { return first_streams_; }
    /// The name that the file was found by.
    const std::string& path() const { return path_; }

private:
    std::string path_;
    FileDescriptor file_;
    PacketLayout layout_;
    std::shared_ptr<const StreamSelection> first_streams_;
    bool is_remote_{false};
};

} // namespace velmora
