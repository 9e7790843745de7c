/*
 * Stands between the player and its engine and gives the Fast button another speed: the window has no button
 * for two to five times. Everything else goes straight through.
 *
 * Environment: BENCH_ENGINE (path of the engine), BENCH_SPEED (PLAYER_SPD_*).
 */
#include "velmoraapi.h"

#include <cstdlib>
#include <dlfcn.h>

extern "C" {
extern velmora_t m_velmora;
extern velmora_ext_t m_velmora_ext;

__attribute__((visibility("default"))) velmora_t m_velmora{};
__attribute__((visibility("default"))) velmora_ext_t m_velmora_ext{};
}

namespace {

decltype(velmora_t::Velmora_set_event) set_event = nullptr;
int speed = PLAYER_SPD_FAST;

void set_event_at_speed(velmora_handle_t handle, playback_event_t event) {
    if (event.event_type == UPDATE_EVENT && event.speed == PLAYER_SPD_FAST) {
        event.speed = speed;
    }
    set_event(handle, event);
}

__attribute__((constructor)) void load() {
    const char* const path = std::getenv("BENCH_ENGINE");
    const char* const wanted_speed = std::getenv("BENCH_SPEED");
    void* const engine = path == nullptr ? nullptr : dlopen(path, RTLD_LAZY);
    if (engine == nullptr || wanted_speed == nullptr) {
        std::abort();
    }
    m_velmora = *static_cast<const velmora_t*>(dlsym(engine, "m_velmora"));
    m_velmora_ext = *static_cast<const velmora_ext_t*>(dlsym(engine, "m_velmora_ext"));
    speed = std::atoi(wanted_speed);
    set_event = m_velmora.Velmora_set_event;
    m_velmora.Velmora_set_event = set_event_at_speed;
}

} // namespace
