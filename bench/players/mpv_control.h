/*
 * The socket through which mpv takes commands.
 */
#ifndef BENCH_PLAYERS_MPV_CONTROL_H
#define BENCH_PLAYERS_MPV_CONTROL_H

#include "players/child_process.h"

#include <filesystem>
#include <string>

class MpvControl {
public:
    /** Connects to a running mpv. */
    explicit MpvControl(const std::filesystem::path& socket);
    ~MpvControl();
    MpvControl(const MpvControl&) = delete;
    MpvControl& operator=(const MpvControl&) = delete;

    /** Sends a command, written as the elements of a JSON array; returns the moment of sending. */
    Clock::time_point send(const std::string& elements);

private:
    int m_connection;
};

#endif
