#include "receive/rtsp_connection.h"

#include "diagnostics/log.h"

#include <cerrno>
#include <new>
#include <string>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

constexpr auto connection_time = 5s;
constexpr auto closing_time = 20ms;
/// Of a single answer; the whole connection has its own limit.
constexpr std::chrono::microseconds answer_time = 3s;
constexpr std::int64_t receive_buffer = 4 << 20; ///< bytes

std::string refusal(int error) {
    switch (error) {
    case AVERROR(ECONNREFUSED):
        return "the server refuses the connection";
    case AVERROR_HTTP_NOT_FOUND:
        return "the server knows no such stream (404)";
    case AVERROR_HTTP_UNAUTHORIZED:
        return "the server asks for another user or password (401)";
    case AVERROR(EPROTONOSUPPORT):
        return "the server does not send in this way";
    default:
        return "the server cannot be used: " + error_text(error);
    }
}

} // namespace

RtspConnection::RtspConnection(const std::string& url, RtspTransport transport, const TimeSource& time,
                               std::stop_token stop)
    : time_{time}, stop_{std::move(stop)}, until_{time_.now() + connection_time} {
    AVFormatContext* format = avformat_alloc_context();
    if (format == nullptr) {
        throw std::bad_alloc{};
    }
    format->interrupt_callback = {
        .callback = [](void* self) { return static_cast<RtspConnection*>(self)->is_over() ? 1 : 0; },
        .opaque = this};
    // What the container says, at once: no packet is held back to learn more from the next one.
    format->flags |= AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOFILLIN;
    FormatOptions options;
    options.set("rtsp_transport", transport == RtspTransport::tcp ? "tcp" : "udp");
    options.set("timeout", answer_time.count());
    options.set("buffer_size", receive_buffer);
    int error = 0;
    {
        const FfmpegSilence silence; // the error says it
        error = avformat_open_input(&format, url.c_str(), av_find_input_format("rtsp"), options.get());
    }
    if (error < 0) {
        throw RtspError{is_over() ? "there is no answer" : refusal(error), error == AVERROR(EPROTONOSUPPORT)};
    }
    format_.reset(format);
}

RtspConnection::~RtspConnection() {
    is_closing_ = true;
    until_ = time_.now() + closing_time;
}

bool RtspConnection::is_over() const {
    return (stop_.stop_requested() && !is_closing_) || time_.now() > until_;
}

RtspConnection::Reading RtspConnection::read(AVPacket& packet, std::chrono::milliseconds patience) {
    until_ = time_.now() + patience;
    const int error = av_read_frame(format_.get(), &packet);
    if (error >= 0) {
        return Reading::packet;
    }
    return is_over() || error == AVERROR(ETIMEDOUT) ? Reading::silence : Reading::end;
}

} // namespace velmora
