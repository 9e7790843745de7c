#include "receive/rtsp_address.h"

namespace velmora {

namespace {

std::string url_of(const ReceiverSetup& setup) {
    if (setup.rtsp_url.find("://") != std::string::npos) {
        return setup.rtsp_url;
    }
    std::string url = "rtsp://" + setup.rtsp_url;
    if (setup.rtsp_port != 0) {
        url += ':' + std::to_string(setup.rtsp_port);
    }
    return url + (setup.rtsp_session.starts_with('/') ? "" : "/") + setup.rtsp_session;
}

} // namespace

RtspAddress rtsp_address(const ReceiverSetup& setup) {
    RtspAddress address{.url = url_of(setup)};
    const std::size_t begin = address.url.find("://") + 3;
    const std::size_t end = std::min(address.url.find_first_of("/?", begin), address.url.size());
    std::string authority = address.url.substr(begin, end - begin);
    const std::size_t user_end = authority.rfind('@');
    if (user_end != std::string::npos) {
        authority.erase(0, user_end + 1);
    }
    address.shown_url = address.url.substr(0, begin) + authority + address.url.substr(end);
    address.host = authority.substr(0, authority.rfind(':'));
    if (address.host.empty()) {
        throw ReceptionError("there is no RTSP server to receive from");
    }
    return address;
}

} // namespace velmora
