/*
 * Stands in for an engine: announces on standard output when it is loaded and unloaded.
 *
 * MARK is its name; WITH_TABLE and WITH_EXTENSION choose what it exports; WITH_GAP leaves a function
 * undefined.
 */
#include "velmoraapi.h"

#include <cstdio>

#ifdef WITH_GAP
extern "C" void function_that_exists_nowhere();
extern "C" void call_function_that_exists_nowhere() {
    function_that_exists_nowhere();
}
#endif

#ifdef WITH_TABLE
extern "C" velmora_t m_velmora;
velmora_t m_velmora = {};
#endif

#ifdef WITH_EXTENSION
extern "C" velmora_ext_t m_velmora_ext;
velmora_ext_t m_velmora_ext = {sizeof(velmora_ext_t), nullptr, nullptr};
#endif

namespace {

struct Announcer {
    Announcer() { std::puts("loaded " MARK); }
    Announcer(const Announcer&) = delete;
    Announcer& operator=(const Announcer&) = delete;
    ~Announcer() { std::puts("unloaded " MARK); }
};

const Announcer announcer;

} // namespace
