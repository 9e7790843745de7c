#include "support/rtsp_server_process.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Payloaders = std::map<std::string, std::string>;

const Payloaders& video_payloaders() {
    static const Payloaders payloaders{
        {"h264", "h264parse ! video/x-h264,stream-format=avc ! rtph264pay config-interval=0 pt=96"},
        {"hevc", "h265parse ! video/x-h265,stream-format=hvc1 ! rtph265pay config-interval=0 pt=96"},
        {"mpeg2", "mpegvideoparse ! rtpmpvpay pt=32"}};
    return payloaders;
}

const Payloaders& audio_payloaders() {
    static const Payloaders payloaders{{"aac", "aacparse ! rtpmp4gpay pt=97"},
                                       {"mp2", "mpegaudioparse ! rtpmpapay pt=14"},
                                       {"mp3", "mpegaudioparse ! rtpmpapay pt=14"},
                                       {"opus", "opusparse ! rtpopuspay pt=97"}};
    return payloaders;
}

struct Pipe {
    Pipe() {
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no descriptors are left");
        }
    }
    std::array<int, 2> ends{};
};

} // namespace

std::string rtsp_pipeline(const std::filesystem::path& file, RtspPayload payload, const std::string& video,
                          const std::string& audio) {
    const std::string source = "( filesrc location=" + file.string() + " ! queue ! ";
    if (payload == RtspPayload::transport_stream) {
        return source + "tsparse set-timestamps=true ! rtpmp2tpay name=pay0 pt=33 )";
    }
    std::string pipeline =
        source + "tsdemux name=demux demux. ! queue ! " + video_payloaders().at(video) + " name=pay0";
    if (audio != "none") {
        pipeline += " demux. ! queue ! " + audio_payloaders().at(audio) + " name=pay1";
    }
    return pipeline + " )";
}

RtspServerProcess::RtspServerProcess(const std::string& pipeline, const std::string& transport,
                                     std::uint16_t own_port) {
    const Pipe input;
    const Pipe output;
    std::array<std::string, 4> arguments{RTSP_SERVER_TOOL, std::to_string(own_port), pipeline, transport};
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        if (!argument.empty()) {
            argv.push_back(argument.data());
        }
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.ends[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
    const int error = ::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input.ends[0]);
    ::close(output.ends[1]);
    input_ = input.ends[1];
    std::array<char, 16> answer{};
    const bool is_ready = error == 0 && ::read(output.ends[0], answer.data(), answer.size()) > 0;
    ::close(output.ends[0]);
    if (!is_ready) {
        ::close(input_);
        throw std::runtime_error("the RTSP server did not start");
    }
    port_ = static_cast<std::uint16_t>(std::stoi(answer.data()));
}

RtspServerProcess::~RtspServerProcess() {
    ::close(input_);
    kill();
}

std::string RtspServerProcess::url() const {
    return "rtsp://127.0.0.1:" + std::to_string(port_) + "/live";
}

void RtspServerProcess::kill() {
    if (pid_ != 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }
}
