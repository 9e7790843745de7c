/*
 * What records a stream that comes to a port.
 */
#ifndef BENCH_LIVE_RECORDERS_H
#define BENCH_LIVE_RECORDERS_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/** Records from construction on. */
class StreamRecorder {
public:
    StreamRecorder() = default;
    virtual ~StreamRecorder() = default;
    StreamRecorder(const StreamRecorder&) = delete;
    StreamRecorder& operator=(const StreamRecorder&) = delete;

    /** Ends the recording once all that came is written; returns its file. */
    virtual std::filesystem::path finish() = 0;
};

/** Makes a recorder that writes into an empty directory. */
using StreamRecorderFactory = std::function<std::unique_ptr<StreamRecorder>(
    std::uint16_t port, const std::filesystem::path& directory)>;

/** Our engine without a view, and ffmpeg, which copies what it finds in the packets. */
std::vector<std::pair<std::string, StreamRecorderFactory>> stream_recorders();

#endif
