#include "live_under_test.h"

#include <cstring>
#include <fstream>
#include <iterator>

std::vector<std::uint8_t> stream_bytes(const StreamRecipe& recipe) {
    std::ifstream file{make_stream(recipe), std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

StreamRecipe small_live_stream(const std::string& codec) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.width = 320;
    recipe.height = 240;
    recipe.bitrate = "400k";
    recipe.duration = 4;
    return recipe;
}

SendRecipe send_to(std::uint16_t port) {
    SendRecipe recipe;
    recipe.target.port = port;
    return recipe;
}

streaming_setup_t live_setup(std::uint16_t port, PROTOCOL protocol) {
    streaming_setup_t setup{};
    setup.port = port;
    setup.protocol = protocol;
    return setup;
}

record_setup_t record_setup(const std::filesystem::path& folder) {
    record_setup_t setup{};
    std::strncpy(setup.directory_path, folder.c_str(), sizeof setup.directory_path - 1);
    return setup;
}

int view(EngineUnderTest& engine, const streaming_setup_t& setup, int mask) {
    engine.table().Velmora_set_streaming_param(engine.handle(), setup);
    return engine.table().Velmora_start(engine.handle(), mask);
}
