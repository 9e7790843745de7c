// A file that plays in virtual time: everything from its bytes to the screen is real but the time.
#pragma once

#include "diagnostics/message_board.h"
#include "play/file_player.h"
#include "play/tempo.h"
#include "present/presenter.h"
#include "support/simulated_ear.h"
#include "support/simulated_screen.h"
#include "support/simulated_time.h"

#include <chrono>
#include <filesystem>
#include <memory>

namespace velmora::test {

/// The player, presenter and screen of one file. Time passes in play() until something can be shown, and in
/// run_for; commands take none.
class PlayerSim {
public:
    struct Setup {
        Tempo tempo{};
        bool repeats{false};
    };

    PlayerSim();
    ~PlayerSim();
    PlayerSim(const PlayerSim&) = delete;
    PlayerSim& operator=(const PlayerSim&) = delete;

    /// Once.
    /// @return false when nothing of it can be shown
    bool play(const std::filesystem::path& file, Setup setup);
    bool play(const std::filesystem::path& file) { return play(file, Setup{}); }
    void run_for(SteadyClock::duration length) { time_.run_for(length); }
    /// Since the simulation began.
    Milliseconds now() const { return time_.now() - begin_; }

    void set_tempo(Tempo tempo) { player_->set_tempo(tempo); }
    void pause() { player_->set_tempo({Direction::forward, Speed::pause}); }
    /// Forward at normal speed.
    void resume() { player_->set_tempo(Tempo{}); }
    /// Backward at normal speed.
    void turn_round() { player_->set_tempo({Direction::reverse, Speed::normal}); }
    void seek(SteadyClock::duration target) {
        player_->seek(Position{std::chrono::duration_cast<Ticks>(target)});
    }
    PlaybackReport report() const { return player_->report(); }

    SimulatedTime& time() { return time_; }
    /// The machine stands still from so long after the beginning on.
    void stall(SteadyClock::duration begin, SteadyClock::duration length) {
        time_.stall(begin_ + begin, length);
    }
    /// Since the beginning, or since forget().
    const ShownPictures& shown() const { return screen_.shown(); }
    void forget() { screen_.forget(); }
    const SimulatedEar& ear() const { return *ear_; }
    FilePlayer& player() { return *player_; }

private:
    SimulatedTime time_;
    const SteadyTime begin_{time_.now()};
    MessageBoard messages_{time_};
    SimulatedScreen screen_{time_};
    Presenter presenter_{time_};
    std::unique_ptr<FilePlayer> player_;
    std::unique_ptr<SimulatedEar> ear_;
};

} // namespace velmora::test
