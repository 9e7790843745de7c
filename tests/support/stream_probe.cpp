#include "support/stream_probe.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

namespace {

std::string ffprobe(const std::filesystem::path& file, const std::string& options) {
    const std::string command = "ffprobe -v error " + options + " '" + file.string() + "'";
    // NOLINTNEXTLINE(cert-env33-c): the command is this file's own
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "re"), pclose);
    std::string output;
    std::array<char, 4096> part{};
    while (pipe != nullptr && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) {
        output += part.data();
    }
    return output;
}

/** "name=value", one a line. */
std::map<std::string, std::string> parse_entries(const std::string& lines) {
    std::map<std::string, std::string> entries;
    std::istringstream input{lines};
    for (std::string line; std::getline(input, line);) {
        if (const auto equals = line.find('='); equals != std::string::npos) {
            // The programme repeats the stream; both say the same.
            entries[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    return entries;
}

} // namespace

ProbedStream::ProbedStream(const std::filesystem::path& file, const std::string& selector)
    : entries_{parse_entries(ffprobe(
          file, "-count_frames -show_streams -of default=noprint_wrappers=1 -select_streams " + selector))} {}

double ProbedStream::number(const std::string& name) const {
    const std::string& value = text(name);
    if (value == "N/A") {
        return 0;
    }
    const auto separator = value.find_first_of("/:");
    const double numerator = std::stod(value);
    if (separator == std::string::npos) {
        return numerator;
    }
    const double denominator = std::stod(value.substr(separator + 1));
    return denominator == 0 ? 0 : numerator / denominator;
}

std::vector<ProbedPacket> probe_packets(const std::filesystem::path& file, const std::string& selector) {
    std::istringstream input{ffprobe(
        file, "-show_packets -show_entries packet=dts_time,size,pos -of compact=nokey=0 -select_streams " +
                  selector)};
    std::vector<ProbedPacket> packets;
    for (std::string line; std::getline(input, line);) {
        std::istringstream fields{line};
        std::string lines;
        for (std::string field; std::getline(fields, field, '|');) {
            lines += field + '\n';
        }
        const auto entries = parse_entries(lines);
        if (entries.contains("dts_time")) {
            packets.push_back(
                {std::stod(entries.at("dts_time")), std::stoll(entries.at("size")),
                 entries.contains("pos") && entries.at("pos") != "N/A" ? std::stoll(entries.at("pos")) : -1});
        }
    }
    return packets;
}
