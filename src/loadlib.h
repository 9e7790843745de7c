/*
 * Loading of the media engine at run time.
 */
#ifndef LOADLIB_H
#define LOADLIB_H

#include "velmoraapi.h"

/** Owns one dynamic library handle. */
class LoadLib {
public:
    /** Loads the library at `path`; a path without a slash goes through the dynamic loader's search path. */
    explicit LoadLib(const char* path);
    /** Unloads the library. */
    ~LoadLib();
    LoadLib(const LoadLib&) = delete;
    LoadLib& operator=(const LoadLib&) = delete;

    bool IsLoaded() const;
    /** Address of an exported symbol; null when there is none or nothing is loaded. */
    void* GetApiPtr(const char* name) const;

private:
    void* lib_handle = nullptr;
};

/** The engine's function table, null without an engine; set once, before the main window is made. */
extern velmora_t* m_velmora;

/** The engine's optional second table, null when the engine has none; set together with m_velmora. */
extern velmora_ext_t* m_velmora_ext;

/** Holds the engine open for the life of the process. */
extern LoadLib* velmora;

/**
 * Loads the engine, "./libvelmora.so" of the working directory first, then "libvelmora.so" of the search
 * path, and sets the globals above. A library without the table counts as none. Main thread, once.
 */
void load_engine();

#endif
