// Has what other libraries have, and no table.
extern "C" int velmora_version() {
    return 0;
}
