#include "live/receiving_port.h"

#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

/** Adds what a table of sockets says of the port. */
void add_drops(const char* table, std::uint16_t port, std::optional<std::uint64_t>& drops) {
    std::ifstream file(table);
    std::string line;
    std::getline(file, line); // the headings
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string number;
        std::string local;
        words >> number >> local;
        constexpr int hexadecimal = 16;
        if (std::stoul(local.substr(local.rfind(':') + 1), nullptr, hexadecimal) == port) {
            std::string last;
            for (std::string word; words >> word;) {
                last = word;
            }
            drops = drops.value_or(0) + std::stoull(last);
        }
    }
}

} // namespace

std::optional<std::uint64_t> datagrams_dropped(std::uint16_t port) {
    std::optional<std::uint64_t> drops;
    add_drops("/proc/net/udp", port, drops);
    add_drops("/proc/net/udp6", port, drops);
    return drops;
}

bool wait_for_receiver(std::uint16_t port, Milliseconds limit) {
    const auto end = Clock::now() + limit;
    while (!datagrams_dropped(port)) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return true;
}
