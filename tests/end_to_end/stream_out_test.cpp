// A played file is sent out, another player shows it, and the data board is told.
#include "data_board.h"
#include "dialog_driver.h"
#include "other_window.h"
#include "player_on_screen.h"

#include "jsncfg.h"
#include "player_state.h"
#include "support/stream_maker.h"
#include "support/udp_port.h"

#include <QFile>
#include <QFrame>
#include <QGroupBox>

#include <QStandardPaths>

namespace {

const std::vector<int> board_stops{0xA5, 0x2B, 0xD2, 0x02, 0x00, 0x00};
const std::vector<int> board_resumes{0xA5, 0x2B, 0xD3, 0x02, 0x00, 0x01};

/// The network is there before the window, which opens the link to the board.
struct Network {
    DataBoard board;
};

class StreamOut : public Network, public PlayerOnScreen {
protected:
    StreamOut() : PlayerOnScreen{QLatin1String(DataBoard::address)} {}

    /// Media, Play File, the address, Play.
    void play_to_port(bool streams_at_once) {
        StreamRecipe recipe;
        recipe.duration = 40;
        recipe.first = first_number;
        recipe.audio = "mp2";
        const auto file = make_stream(recipe);
        in_dialog("actionOpen_File", [&](QDialog& dialog) {
            type_into(dialog, "file", QString::fromStdString(file.string()));
            if (!::part<QGroupBox>(dialog, "streaming").isChecked()) {
                click_on(dialog, "streaming"); // the address can be changed only while it is
            }
            type_into(dialog, "ip", QStringLiteral("127.000.000.001"));
            type_into(dialog, "port", QString::number(port_));
            if (!streams_at_once) {
                click_on(dialog, "streaming");
            }
            click_on(dialog, "play");
        });
        ASSERT_TRUE(wait_for_playing());
    }

    /// Another player of ours, as its user left it: live view of our port.
    bool start_second_player() {
        Config config{folder_.filePath(QStringLiteral("\nzandor_player.cfg"))};
        config.p_networkCfg->port = port_;
        config.p_networkCfg->write();
        QFile::link(QStringLiteral(ENGINE_LIBRARY), folder_.filePath(QStringLiteral("libvelmora.so")));
        return other_.start(QStringLiteral(PLAYER), {}, QStringLiteral("^Zandor Player$"), folder_.path()) &&
               other_.click(center_in_window("playButton"));
    }
    /// Number of the picture that the second player shows, whose window is made like ours.
    std::optional<std::uint32_t> number_in_second_player() const {
        const auto* const frame = part<QFrame>("playerFrame");
        return number_in(other_.contents().copy({frame->mapTo(frame->window(), QPoint{}), frame->size()}));
    }
    QPoint center_in_window(const char* widget) const {
        return part(widget)->mapTo(part(widget)->window(), part(widget)->rect().center());
    }
    /// Whether the board has been told this, nothing else, in this order.
    void expect_board_told(const std::vector<std::vector<int>>& commands) {
        if (!board.is_connected()) {
            return; // without the right to make a network
        }
        std::vector<std::vector<int>> told;
        for (const BoardMessage& message : board.messages()) {
            told.push_back(message.bytes);
        }
        EXPECT_EQ(told, commands);
    }

    static constexpr int first_number = 2000;
    std::uint16_t port_{free_udp_port()};
    QTemporaryDir folder_;
    OtherWindow other_;
};

TEST_F(StreamOut, TheStreamButtonShowsTheFileInASecondPlayerUntilItIsPressedAgain) {
    play_to_port(false);
    expect_board_told({board_resumes}); // whatever was sent before has ended
    ASSERT_TRUE(start_second_player());
    click("stream");
    ASSERT_TRUE(wait_until([] { return isStreamPlayback == 1; }));
    expect_board_told({board_resumes, board_stops});
    const auto shown = [this] { return number_in_second_player().value_or(0); };
    ASSERT_TRUE(wait_until([&] { return shown() >= first_number; }));
    const auto first = shown();
    EXPECT_TRUE(wait_until([&] { return shown() > first + 25; })) << "it moves";
    EXPECT_GT(m_info.pb_stream_info.frame_count, 0);

    click("stream");
    ASSERT_TRUE(wait_until([] { return isStreamPlayback == 0; }));
    expect_board_told({board_resumes, board_stops, board_resumes});
    EXPECT_EQ(isPlayback, 1);
}

TEST_F(StreamOut, AFileThatIsOpenedWithStreamingIsShownByFfplay) {
    const QString ffplay = QStandardPaths::findExecutable(QStringLiteral("ffplay"));
    if (ffplay.isEmpty()) {
        GTEST_SKIP() << "ffplay is not installed";
    }
    play_to_port(true);
    expect_board_told({board_resumes, board_stops});
    ASSERT_TRUE(wait_until([] { return isStreamPlayback == 1; }));
    ASSERT_TRUE(other_.start(ffplay,
                             {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-fflags"),
                              QStringLiteral("nobuffer"), QStringLiteral("-noborder"),
                              QStringLiteral("udp://127.0.0.1:%1").arg(port_)},
                             QStringLiteral("."), folder_.path()));
    const auto shown = [this] { return number_in(other_.contents()).value_or(0); };
    ASSERT_TRUE(wait_until([&] { return shown() >= first_number; }));
    const auto first = shown();
    EXPECT_TRUE(wait_until([&] { return shown() > first + 25; })) << "it moves";
    click("stop");
    expect_board_told({board_resumes, board_stops, board_resumes});
}

} // namespace
