// The data board as the wire sees it: a peer in a network of its own, joined to the player's by one cable.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// A datagram that reached the board's command port.
struct BoardMessage {
    std::vector<int> bytes;
    std::string source;                         ///< dotted decimal
    std::string destination;                    ///< dotted decimal
    std::chrono::system_clock::time_point time; ///< when it was put on the wire
};

/// Moves the process into a network of its own for as long as it lives.
class DataBoard {
public:
    static constexpr const char* address = "10.99.0.2";
    static constexpr const char* player_address = "10.99.0.1";

    DataBoard();
    ~DataBoard();
    DataBoard(const DataBoard&) = delete;
    DataBoard& operator=(const DataBoard&) = delete;

    /// False where the right to make networks lacks.
    bool is_connected() const { return connected_; }
    /// All that was sent to the board before this call, in its order.
    std::vector<BoardMessage> messages();

private:
    void build();

    int previous_network_{-1};
    int socket_{-1};
    bool connected_{false};
    int marker_{0}; ///< of the last call of messages()
    std::vector<BoardMessage> received_;
};
