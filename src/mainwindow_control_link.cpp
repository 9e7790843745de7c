// The control link to the data board, which gives way while a played file is streamed out.
#include "mainwindow.h"

#include "general/socket.h"
#include "jsncfg.h"
#include "player_state.h"

#include <array>
#include <cstdint>

namespace {

constexpr std::uint16_t board_port = 3100;
constexpr std::array<std::uint8_t, 6> board_resume{0xA5, 0x2B, 0xD3, 0x02, 0x00, 0x01};
constexpr std::array<std::uint8_t, 6> board_stop{0xA5, 0x2B, 0xD2, 0x02, 0x00, 0x00};

} // namespace

int set_streaming_opertion(int on) {
    if (board_addr == 0) {
        return 0;
    }
    const auto& message = on == 1 ? board_resume : board_stop;
    constexpr int size = static_cast<int>(board_resume.size());
    const int sent = Socket_SendTo(tx_soxket, message.data(), size, board_addr, board_port);
    return sent == size ? sent : -1;
}

void MainWindow::open_control_link() {
    const QString address = m_mpCfg->p_board_ip->ip;
    if (address.isEmpty()) {
        return;
    }
    board_addr = Socket_Str2Addr(address.toLatin1().constData());
    rx_socket = Socket_UDPServer(board_port);
    tx_soxket = Socket_UDPSocket();
}
