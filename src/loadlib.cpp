#include "loadlib.h"

#include <dlfcn.h>
#include <memory>

velmora_t* m_velmora = nullptr;
velmora_ext_t* m_velmora_ext = nullptr;
LoadLib* velmora = nullptr;

LoadLib::LoadLib(const char* path) : lib_handle(dlopen(path, RTLD_LAZY)) {}

LoadLib::~LoadLib() {
    if (IsLoaded()) {
        dlclose(lib_handle);
        lib_handle = nullptr;
    }
}

bool LoadLib::IsLoaded() const {
    return lib_handle != nullptr;
}

void* LoadLib::GetApiPtr(const char* name) const {
    return IsLoaded() ? dlsym(lib_handle, name) : nullptr;
}

void load_engine() {
    auto loader = std::make_unique<LoadLib>("./libvelmora.so");
    if (!loader->IsLoaded()) {
        loader = std::make_unique<LoadLib>("libvelmora.so");
    }
    m_velmora = static_cast<velmora_t*>(loader->GetApiPtr("m_velmora"));
    if (m_velmora != nullptr) {
        m_velmora_ext = static_cast<velmora_ext_t*>(loader->GetApiPtr("m_velmora_ext"));
    }
    velmora = loader.release(); // the engine stays mapped until the process ends
}
