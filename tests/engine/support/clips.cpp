#include "support/clips.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

extern "C" {
#include <libavformat/avformat.h>
}

namespace velmora::test {

ScratchDirectory::ScratchDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error{"no scratch directory"};
    }
    path_ = pattern;
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void make_clip(const std::string& arguments, const std::filesystem::path& output) {
    const std::string command =
        "ffmpeg -nostdin -loglevel error -y " + arguments + " '" + output.string() + "'";
    const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): a test's own fixed command
    ASSERT_EQ(status, 0) << command;
}

std::vector<std::uint8_t> read_file(const std::filesystem::path& path) {
    std::ifstream stream{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, std::istreambuf_iterator<char>{}};
}

void write_file(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream{path, std::ios::binary};
    std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>{stream});
}

std::vector<PesPayload> audio_payloads(const std::filesystem::path& clip) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, clip.c_str(), nullptr, nullptr) != 0) {
        throw std::runtime_error{"cannot read " + clip.string()};
    }
    const auto close = [](AVFormatContext* context) { avformat_close_input(&context); };
    const std::unique_ptr<AVFormatContext, decltype(close)> format{opened, close};
    format->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;

    const auto free = [](AVPacket* packet) { av_packet_free(&packet); };
    const std::unique_ptr<AVPacket, decltype(free)> packet{av_packet_alloc(), free};
    std::vector<PesPayload> payloads;
    while (av_read_frame(format.get(), packet.get()) == 0) {
        const AVStream* const stream = format->streams[packet->stream_index];
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            PesPayload payload{.bytes = {packet->data, packet->data + packet->size}, .pts = {}};
            if (packet->pts != AV_NOPTS_VALUE) {
                payload.pts = packet->pts;
            }
            payloads.push_back(std::move(payload));
        }
        av_packet_unref(packet.get());
    }
    return payloads;
}

} // namespace velmora::test
