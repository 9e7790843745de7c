#include "receive/fake_rtsp_server.h"

#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace velmora::test {

namespace {

constexpr int look_interval_ms = 20;

bool is_readable(int descriptor, const std::stop_token& stop) {
    pollfd polled{.fd = descriptor, .events = POLLIN, .revents = 0};
    while (!stop.stop_requested()) {
        if (::poll(&polled, 1, look_interval_ms) > 0) {
            return true;
        }
    }
    return false;
}

} // namespace

FakeRtspServer::FakeRtspServer(Script script)
    : script_{std::move(script)}, listener_{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)} {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), size);
    ::listen(listener_.get(), 5);
    ::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::jthread{[this](const std::stop_token& stop) { run(stop); }};
}

void FakeRtspServer::run(const std::stop_token& stop) {
    while (is_readable(listener_.get(), stop)) {
        const FileDescriptor client{::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
        ++connections_;
        serve(client.get(), stop);
    }
}

void FakeRtspServer::serve(int client, const std::stop_token& stop) const {
    std::string received;
    while (is_readable(client, stop)) {
        std::array<char, 4096> part{};
        const auto size = ::recv(client, part.data(), part.size(), 0);
        if (size <= 0) {
            return;
        }
        received.append(part.data(), static_cast<std::size_t>(size));
        for (auto end = received.find("\r\n\r\n"); end != std::string::npos;
             end = received.find("\r\n\r\n")) {
            const auto answer = script_(received.substr(0, end + 4));
            received.erase(0, end + 4);
            if (answer) {
                ::send(client, answer->data(), answer->size(), MSG_NOSIGNAL);
            }
        }
    }
}

std::string rtsp_answer(const std::string& request, const std::string& status, const std::string& headers,
                        const std::string& body) {
    const std::size_t begin = request.find("CSeq:");
    const std::string sequence = request.substr(begin, request.find("\r\n", begin) - begin);
    std::string answer = "RTSP/1.0 " + status + "\r\n" + sequence + "\r\n" + headers;
    if (!body.empty()) {
        answer += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    return answer + "\r\n" + body;
}

} // namespace velmora::test
