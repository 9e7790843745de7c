/*
 * How the other players are started: in a window of the stream's size that nothing but the picture is drawn
 * into.
 */
#ifndef BENCH_PLAYERS_PEER_COMMANDS_H
#define BENCH_PLAYERS_PEER_COMMANDS_H

#include "players/child_process.h"
#include "players/numbered_stream.h"

#include <string>
#include <vector>

/** @param options more of them, the source last */
Command mpv_command(const Stream& stream, const std::vector<std::string>& options);
Command ffplay_command(const Stream& stream, const std::vector<std::string>& options);

#endif
