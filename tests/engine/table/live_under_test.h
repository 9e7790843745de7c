// A live view of the engine and the sender that it watches.
#pragma once

#include "engine_under_test.h"
#include "support/stream_maker.h"
#include "support/stream_sender.h"
#include "support/udp_port.h"

#include <cstdint>
#include <filesystem>
#include <vector>

/// Bytes of a stream made by the recipe.
std::vector<std::uint8_t> stream_bytes(const StreamRecipe& recipe);

/// A short stream that can be sent again and again: one key picture a second.
StreamRecipe small_live_stream(const std::string& codec = "h264");

/// Sends to a port of the loopback.
SendRecipe send_to(std::uint16_t port);

/// Reception from a port of the loopback.
streaming_setup_t live_setup(std::uint16_t port, PROTOCOL protocol = Protocol_UDPTS);

/// Recording into a folder, without an index beside it.
record_setup_t record_setup(const std::filesystem::path& folder);

/// Sets the source and starts to view it.
/// @return the result of Velmora_start
int view(EngineUnderTest& engine, const streaming_setup_t& setup, int mask = 1 << STREAMING_BIT);
