#include "players/peer_commands.h"

Command mpv_command(const Stream& stream, const std::vector<std::string>& options) {
    const std::string size = std::to_string(stream.width) + "x" + std::to_string(stream.height);
    Command command{.arguments = {"mpv", "--no-config", "--vo=x11", "--zimg-scaler=bilinear",
                                  "--zimg-dither=no", "--ao=null", "--hwdec=no", "--no-border",
                                  "--geometry=" + size + "+100+100", "--no-osc", "--osd-level=0",
                                  "--no-input-default-bindings", "--no-terminal", "--force-window=yes"},
                    .environment = {},
                    .directory = {}};
    command.arguments.insert(command.arguments.end(), options.begin(), options.end());
    return command;
}

Command ffplay_command(const Stream& stream, const std::vector<std::string>& options) {
    Command command{.arguments = {"ffplay", "-loglevel", "quiet", "-noborder", "-left", "100", "-top", "100",
                                  "-x", std::to_string(stream.width), "-y", std::to_string(stream.height)},
                    .environment = {"SDL_AUDIODRIVER=dummy", "SDL_RENDER_DRIVER=software"},
                    .directory = {}};
    command.arguments.insert(command.arguments.end(), options.begin(), options.end());
    return command;
}
