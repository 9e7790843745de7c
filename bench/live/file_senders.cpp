#include "live/file_senders.h"

#include "engine/table/live_under_test.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

namespace {

/** The threads of this process. */
std::set<std::string> threads() {
    std::set<std::string> ids;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        ids.insert(entry.path().filename());
    }
    return ids;
}

/** The engine plays, and sends on threads of its own. */
class EngineSender : public FileSender {
public:
    EngineSender(const std::filesystem::path& file, std::uint16_t port) {
        playback_setup_t setup{};
        std::strncpy(setup.file_name, file.c_str(), sizeof(setup.file_name) - 1);
        setup.speed = PLAYER_SPD_NORMAL;
        setup.ip = INADDR_LOOPBACK;
        setup.port = port;
        setup.protocol = Protocol_UDPTS;
        m_engine.table().Velmora_set_playback_param(m_engine.handle(), setup);
        start(1 << PLAYBACK_BIT);
        const auto before = threads();
        start(1 << PLAYBACK_STREAMING_BIT);
        std::ranges::set_difference(threads(), before, std::back_inserter(m_threads));
    }

    Milliseconds processor_time() const override {
        std::chrono::nanoseconds sum{0};
        for (const std::string& thread : m_threads) {
            std::chrono::nanoseconds::rep time = 0;
            std::ifstream("/proc/self/task/" + thread + "/schedstat") >> time;
            sum += std::chrono::nanoseconds(time);
        }
        return sum;
    }

private:
    void start(int mask) {
        if (m_engine.table().Velmora_start(m_engine.handle(), mask) != 0) {
            throw std::runtime_error("the engine does not stream out");
        }
    }

    EngineLibrary m_library;
    EngineUnderTest m_engine{m_library};
    std::vector<std::string> m_threads; /* that send */
};

class FfmpegSender : public FileSender {
public:
    FfmpegSender(const std::filesystem::path& file, std::uint16_t port)
        : m_process({.arguments = {"ffmpeg", "-nostdin", "-loglevel", "quiet", "-re", "-i", file.string(),
                                   "-c", "copy", "-f", "mpegts",
                                   "udp://127.0.0.1:" + std::to_string(port) + "?pkt_size=1316"},
                     .environment = {},
                     .directory = {}}) {}

    Milliseconds processor_time() const override { return m_process.processor_time(); }

private:
    ChildProcess m_process;
};

} // namespace

std::vector<std::pair<std::string, FileSenderFactory>> file_senders() {
    return {
        {"zandor", [](const std::filesystem::path& file,
                      std::uint16_t port) { return std::make_unique<EngineSender>(file, port); }},
        {"ffmpeg", [](const std::filesystem::path& file,
                      std::uint16_t port) { return std::make_unique<FfmpegSender>(file, port); }},
    };
}
