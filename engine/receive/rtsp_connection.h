// One connection to an RTSP server, from DESCRIBE to TEARDOWN.
#pragma once

#include "media/timeline.h"
#include "pacing/time_source.h"
#include "receive/format_handles.h"

#include <stdexcept>
#include <stop_token>
#include <string>

namespace velmora {

enum class RtspTransport { udp, tcp };

/// Why there is no connection.
class RtspError : public std::runtime_error {
public:
    RtspError(const std::string& what, bool refuses_transport)
        : std::runtime_error{what}, refuses_transport_{refuses_transport} {}

    /// The server might send by the other transport.
    bool refuses_transport() const { return refuses_transport_; }

private:
    bool refuses_transport_;
};

class RtspConnection {
public:
    enum class Reading { packet, silence, end };

    /// Connects, and has the server begin to send.
    /// @param time outlives the connection
    /// @param stop ends every wait
    /// @throws RtspError
    RtspConnection(const std::string& url, RtspTransport transport, const TimeSource& time,
                   std::stop_token stop);
    /// Tells the server, as far as that needs no waiting.
    ~RtspConnection();
    RtspConnection(const RtspConnection&) = delete;
    RtspConnection& operator=(const RtspConnection&) = delete;

    /// Waits for the next packet.
    /// @return silence when none came within `patience`
    Reading read(AVPacket& packet, std::chrono::milliseconds patience);
    /// The streams known so far: those of a transport stream are not before its tables have come.
    const AVFormatContext& format() const { return *format_; }

private:
    bool is_over() const;

    const TimeSource& time_;
    std::stop_token stop_;
    SteadyTime until_; ///< of the wait in progress
    bool is_closing_{false};
    InputFormat format_;
};

} // namespace velmora
