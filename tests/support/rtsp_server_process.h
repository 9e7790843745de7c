/*
 * A real RTSP server on the loopback, as a process of its own.
 */
#ifndef TESTS_SUPPORT_RTSP_SERVER_PROCESS_H
#define TESTS_SUPPORT_RTSP_SERVER_PROCESS_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>

/** How the server sends the streams of a file. */
enum class RtspPayload {
    elementary,      /* each stream as its own payload, parameter sets in the description only */
    transport_stream /* all of it as one payload */
};

/** A pipeline that serves a file of H.264 or HEVC with AAC, MPEG or Opus sound, or without any.
 *  @param video h264, hevc or mpeg2
 *  @param audio aac, mp2, mp3, opus or none */
std::string rtsp_pipeline(const std::filesystem::path& file, RtspPayload payload, const std::string& video,
                          const std::string& audio);

/** Serves from construction to destruction. */
class RtspServerProcess {
public:
    /** @param pipeline of rtsp_pipeline()
     *  @param transport udp or tcp to refuse the other; empty: both
     *  @param own_port 0: any that is free
     *  Throws std::runtime_error when it does not start. */
    explicit RtspServerProcess(const std::string& pipeline, const std::string& transport = {},
                               std::uint16_t own_port = 0);
    ~RtspServerProcess();
    RtspServerProcess(const RtspServerProcess&) = delete;
    RtspServerProcess& operator=(const RtspServerProcess&) = delete;

    std::string url() const;
    std::uint16_t port() const { return port_; }
    /** Ends it as a crash would. */
    void kill();

private:
    std::uint16_t port_{0};
    pid_t pid_{0};
    int input_{-1}; /* its end ends the server */
};

#endif
