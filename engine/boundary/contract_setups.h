// What the contract's records ask for, checked, in the engine's own types.
#pragma once

#include "data/data_forwarder.h"
#include "diagnostics/message_board.h"
#include "live/live_channel.h"
#include "play/tempo.h"
#include "record/recorder.h"
#include "session/playback_setup.h"
#include "session/session.h"
#include "velmoraapi.h"

#include <optional>

namespace velmora {

/// @return nothing, and a line for the developer, when there is no such direction or speed
std::optional<Tempo> tempo_of(std::int32_t direction, std::int32_t speed);
/// With a tempo that is none it plays forward at normal speed.
PlaybackSetup setup_of(const playback_setup_t& record);
StreamingSetup setup_of(const streaming_setup_t& record);
RecorderSetup setup_of(const record_setup_t& record);
/// @param messages gets that a target is no address
DataTargets targets_of(const data_setup_t& record, MessageBoard& messages);
/// @param mask of 1 << ACTION_BIT; bits of no activity are ignored with a line for the developer
Activities activities_of(int mask);

} // namespace velmora
