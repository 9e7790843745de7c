// A live stream as a person chooses it in the window.
#pragma once

#include "player_on_screen.h"

#include "support/stream_maker.h"
#include "support/stream_sender.h"
#include "support/udp_port.h"

#include <QString>

#include <cstdint>
#include <vector>

class LiveOnScreen : public PlayerOnScreen {
protected:
    using PlayerOnScreen::PlayerOnScreen;

    /// Number of a live stream's first picture, which no file of another test reaches.
    static constexpr int first_number = 1000;

    static constexpr int kilobits_per_second = 2000;

    /// Pictures from first_number on and a tone of 1000 Hz.
    static StreamRecipe live_recipe();
    static std::vector<std::uint8_t> live_stream();
    /// Again and again, to a port of the loopback.
    static SendRecipe to_port(std::uint16_t port);

    /// Media, Network Stream, this choice, Play. Nothing is recorded unless the choice says so.
    void watch(const std::function<void(QDialog&)>& choose);
    static void choose_unicast(QDialog& dialog, std::uint16_t port);
    static void choose_recording(QDialog& dialog);

    bool wait_for_live_picture() const;
};
