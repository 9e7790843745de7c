// Whether there is an engine session to talk to. Any thread.
#pragma once

#include "loadlib.h"
#include "player_state.h"

/// An engine is loaded and a session is open; without both, no call that needs a session is made.
inline bool has_session() {
    return m_velmora != nullptr && m_VidDisp != 0;
}
