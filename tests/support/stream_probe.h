/*
 * What ffprobe says of a file.
 */
#ifndef TESTS_SUPPORT_STREAM_PROBE_H
#define TESTS_SUPPORT_STREAM_PROBE_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

/** One stream's entries by their ffprobe names; its pictures or sound frames are counted. */
class ProbedStream {
public:
    /** @param selector as ffprobe takes it: "v:0", "a:0" */
    ProbedStream(const std::filesystem::path& file, const std::string& selector);

    /** Throws when there is no such entry. */
    const std::string& text(const std::string& name) const { return entries_.at(name); }
    /** A number, or a ratio such as "25/1" or "16:15"; 0 for what is not known. */
    double number(const std::string& name) const;

private:
    std::map<std::string, std::string> entries_;
};

/** One packet of a stream. */
struct ProbedPacket {
    double decode{0};         /* seconds */
    std::int64_t size{0};     /* bytes */
    std::int64_t position{0}; /* in the file, bytes; -1 when not known */
};

/** The packets of a stream in the order of the file. */
std::vector<ProbedPacket> probe_packets(const std::filesystem::path& file, const std::string& selector);

#endif
