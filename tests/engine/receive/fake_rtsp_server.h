// An RTSP server that answers what a test wants it to.
#pragma once

#include "media/file_descriptor.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace velmora::test {

/// Serves one client after the other, on the loopback.
class FakeRtspServer {
public:
    /// What to send when a request has come; nothing: no answer.
    using Script = std::function<std::optional<std::string>(const std::string& request)>;

    explicit FakeRtspServer(Script script);

    std::string url() const { return "rtsp://127.0.0.1:" + std::to_string(port_) + "/live"; }
    std::uint16_t port() const { return port_; }
    int connections() const { return connections_; }

private:
    void run(const std::stop_token& stop);
    void serve(int client, const std::stop_token& stop) const;

    Script script_;
    FileDescriptor listener_;
    std::uint16_t port_{0};
    std::atomic<int> connections_{0};
    std::jthread thread_;
};

/// An answer to `request`, with its CSeq.
std::string rtsp_answer(const std::string& request, const std::string& status,
                        const std::string& headers = {}, const std::string& body = {});

} // namespace velmora::test
