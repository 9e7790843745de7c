/*
 * What streams a file out.
 */
#ifndef BENCH_LIVE_FILE_SENDERS_H
#define BENCH_LIVE_FILE_SENDERS_H

#include "players/child_process.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/** Sends from construction on. */
class FileSender {
public:
    FileSender() = default;
    virtual ~FileSender() = default;
    FileSender(const FileSender&) = delete;
    FileSender& operator=(const FileSender&) = delete;

    /** Spent on sending so far; playing is not counted. */
    virtual Milliseconds processor_time() const = 0;
};

/** Makes a sender to a port of the loopback. */
using FileSenderFactory =
    std::function<std::unique_ptr<FileSender>(const std::filesystem::path& file, std::uint16_t port)>;

/** Our engine while it plays the file, and ffmpeg at the rate of the file. */
std::vector<std::pair<std::string, FileSenderFactory>> file_senders();

#endif
