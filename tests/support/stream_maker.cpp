#include "support/stream_maker.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

void PrintTo(const StreamRecipe& recipe, std::ostream* out) {
    *out << recipe.codec << '_' << recipe.width << 'x' << recipe.height;
}

std::filesystem::path make_stream(const StreamRecipe& recipe) {
    std::ostringstream command;
    command << "'" MAKE_STREAM_SCRIPT "' --tool '" PATTERN_STREAM_TOOL "' --cache '" STREAM_CACHE "'"
            << " --codec " << recipe.codec << " --size " << recipe.width << 'x' << recipe.height << " --fps "
            << recipe.fps << " --gop " << recipe.gop << " --bframes " << recipe.bframes << " --bitrate "
            << recipe.bitrate << (recipe.interlaced ? " --interlaced" : "") << " --duration "
            << recipe.duration << " --first " << recipe.first << " --audio " << recipe.audio << " --tone "
            << recipe.tone << " --start " << recipe.start << " --packet " << recipe.packet
            << " --video-options '" << recipe.video_options << "' --mux-options '" << recipe.mux_options
            << "'";
    // NOLINTNEXTLINE(cert-env33-c): the command is this file's own
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.str().c_str(), "re"), pclose);
    std::string path;
    std::array<char, 256> part{};
    while (pipe != nullptr && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) {
        path += part.data();
    }
    while (!path.empty() && path.back() == '\n') {
        path.pop_back();
    }
    return path;
}
