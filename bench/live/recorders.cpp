#include "live/recorders.h"

#include "engine/table/live_under_test.h"
#include "players/child_process.h"

#include <cstring>
#include <stdexcept>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr int record_mask = 1 << RECORD_BIT;

/** Waits until a recording grows no more. */
void wait_until_written(const std::filesystem::path& file) {
    constexpr int quiet_looks = 10;
    std::uintmax_t size = 0;
    for (int quiet = 0; quiet < quiet_looks; ++quiet) {
        std::this_thread::sleep_for(100ms);
        std::error_code missing;
        const auto now = std::filesystem::file_size(file, missing);
        if (!missing && now != size) {
            size = now;
            quiet = 0;
        }
    }
}

class EngineRecorder : public StreamRecorder {
public:
    EngineRecorder(std::uint16_t port, const std::filesystem::path& directory) {
        record_setup_t setup{};
        std::strncpy(setup.directory_path, directory.c_str(), sizeof(setup.directory_path) - 1);
        m_engine.table().Velmora_set_record_param(m_engine.handle(), setup);
        if (view(m_engine, live_setup(port), record_mask) != 0) {
            throw std::runtime_error("the engine does not record");
        }
    }

    std::filesystem::path finish() override {
        const char* const name = m_engine.info().record_info.file_name;
        std::filesystem::path file = name == nullptr ? "" : name;
        wait_until_written(file);
        m_engine.table().Velmora_stop(m_engine.handle(), record_mask);
        return file;
    }

private:
    EngineLibrary m_library;
    EngineUnderTest m_engine{m_library};
};

/** Ends by itself when nothing comes any more: asked to end, it would drop what it has not looked at yet. */
class FfmpegRecorder : public StreamRecorder {
public:
    FfmpegRecorder(std::uint16_t port, const std::filesystem::path& directory)
        : m_file(directory / "recorded.ts"),
          m_process(
              {.arguments = {"ffmpeg", "-nostdin", "-loglevel", "quiet", "-i",
                             "udp://127.0.0.1:" + std::to_string(port) +
                                 "?fifo_size=1000000&overrun_nonfatal=1&buffer_size=4194304&timeout=1500000",
                             "-map", "0", "-c", "copy", "-f", "mpegts", m_file.string()},
               .environment = {},
               .directory = {}}) {}

    std::filesystem::path finish() override {
        m_process.wait(10s);
        return m_file;
    }

private:
    std::filesystem::path m_file;
    ChildProcess m_process;
};

} // namespace

std::vector<std::pair<std::string, StreamRecorderFactory>> stream_recorders() {
    return {
        {"zandor",
         [](std::uint16_t port, const std::filesystem::path& directory) {
             return std::make_unique<EngineRecorder>(port, directory);
         }},
        {"ffmpeg",
         [](std::uint16_t port, const std::filesystem::path& directory) {
             return std::make_unique<FfmpegRecorder>(port, directory);
         }},
    };
}
