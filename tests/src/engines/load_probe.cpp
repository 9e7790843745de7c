/*
 * Loads an engine as the player does and tells on standard output what came of it.
 */
#include "loadlib.h"

#include <cstdio>
#include <unistd.h>

int main() {
    load_engine();
    const bool kept = velmora != nullptr && velmora->IsLoaded();
    std::printf("library %s, table %s, extension %s\n", kept ? "kept" : "none",
                m_velmora != nullptr ? "found" : "none", m_velmora_ext != nullptr ? "found" : "none");
    std::fflush(stdout);
    _exit(0); // without unloading: only what happened before counts
}
