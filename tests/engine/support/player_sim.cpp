#include "support/player_sim.h"

#include <span>
#include <string>

namespace velmora::test {

PlayerSim::PlayerSim() {
    presenter_.set_overlay([this](const RgbPicture& picture) { screen_.take(picture); });
}

PlayerSim::~PlayerSim() {
    if (player_) {
        presenter_.detach(*player_->pictures());
        player_->stop();
        ear_.reset();
        player_->pictures()->pictures.set_on_item(nullptr);
    }
}

bool PlayerSim::play(const std::filesystem::path& file, Setup setup) {
    FilePlayer::Hooks hooks{.clock_changed = [this] { presenter_.wake(); },
                            .discard_sound = [this] { ear_->discard(); },
                            .on_data = [](std::span<const std::uint8_t>) {},
                            .unplayable = [](const std::string&) {}};
    player_ = std::make_unique<FilePlayer>(
        FilePlayer::Setup{file.string(), setup.tempo, SidecarUse::none, setup.repeats}, std::move(hooks),
        time_, messages_);
    ear_ = std::make_unique<SimulatedEar>(time_, player_->sounds(), player_->clock());
    player_->pictures()->pictures.set_on_item([this] { presenter_.wake(); });
    player_->open();
    presenter_.attach(player_->pictures());
    return player_->wait_ready();
}

} // namespace velmora::test
