// Clips made with the ffmpeg command line while a test runs, and what libavformat reads from them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora::test {

/// A directory of its own that is removed with its files at the end.
class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    std::filesystem::path file(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// Runs ffmpeg with `arguments` (shell syntax) and `output` as its last one; a failure fails the test.
void make_clip(const std::string& arguments, const std::filesystem::path& output);

std::vector<std::uint8_t> read_file(const std::filesystem::path& path);
void write_file(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes);

/// The payload of one PES packet.
struct PesPayload {
    std::vector<std::uint8_t> bytes;
    std::optional<std::int64_t> pts; ///< 1/90000 s
};

/// Payloads of the first audio stream of a transport stream, as they stand in it.
std::vector<PesPayload> audio_payloads(const std::filesystem::path& clip);

} // namespace velmora::test
