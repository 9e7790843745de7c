// A live stream as a person watches, records and reviews it: our own engine, a sender on the loopback.
#include "player_on_screen.h"

#include "jsncfg.h"
#include "player_state.h"
#include "support/stream_maker.h"
#include "support/stream_sender.h"
#include "support/udp_port.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

/// Pictures from 200 on, which no other test's stream has.
std::vector<std::uint8_t> live_stream() {
    StreamRecipe recipe;
    recipe.duration = 20;
    recipe.first = 200;
    recipe.audio = "mp2";
    std::ifstream file{make_stream(recipe), std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

class Live : public PlayerOnScreen {
protected:
    /// Media, Network Stream: transport stream, unicast, the port; recording or not; Play.
    void watch(const QString& record_to = {}) {
        if (!record_to.isEmpty()) {
            m_mpCfg->p_recordCfg->directory_path = record_to; // chosen before
        }
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (dialog == nullptr) {
                return;
            }
            timer.stop();
            dialog->findChild<QAbstractButton*>(QStringLiteral("transportRD"))->click();
            dialog->findChild<QAbstractButton*>(QStringLiteral("unicasRd"))->click();
            dialog->findChild<QLineEdit*>(QStringLiteral("portLE"))->setText(QString::number(port_));
            dialog->findChild<QGroupBox*>(QStringLiteral("record_grp"))->setChecked(!record_to.isEmpty());
            QTest::mouseClick(dialog->findChild<QPushButton*>(QStringLiteral("playNetwork")), Qt::LeftButton);
        });
        timer.start(10);
        part<QAction>("actionNetwork_Stream")->trigger();
    }

    bool wait_for_live_picture() const {
        return wait_until([this] {
            const auto number = number_on_screen();
            return number && *number >= 200;
        });
    }

    std::uint16_t port_{free_udp_port()};
    StreamSender sender_{live_stream(), [this] {
                             SendRecipe recipe;
                             recipe.target.port = port_;
                             recipe.loops = true;
                             return recipe;
                         }()};
};

TEST_F(Live, TheNetworkStreamDialogBringsTheLivePictureToTheScreen) {
    watch();
    ASSERT_TRUE(wait_for_live_picture());
    const auto first = number_on_screen();
    EXPECT_TRUE(wait_until([&] { return number_on_screen() && number_on_screen() != first; })) << "it moves";
    EXPECT_TRUE(wait_until([] { return (m_info.action_bit & (1 << STREAMING_BIT)) != 0; }));
}

TEST_F(Live, ARecordingIsReviewedWhileItIsMadeAndTheLivePictureComesBack) {
    const QTemporaryDir folder;
    watch(folder.path());
    ASSERT_TRUE(wait_for_live_picture());
    ASSERT_TRUE(wait_until([] { return m_info.record_info.sec_size >= 3; }));
    const std::filesystem::path file{m_info.record_info.file_name};
    EXPECT_EQ(file.parent_path(), folder.path().toStdString());

    play(file);
    ASSERT_TRUE(wait_until([] { return m_info.active_app == PLAYBACK_APP; }));
    ASSERT_TRUE(wait_for_number(200 + 25)) << "the recording's pictures are numbered like the stream's";
    EXPECT_TRUE(wait_until([] { return m_info.player_info.is_recording == 1; }));
    const auto reviewed = number_on_screen();
    click("switch_dispatch");
    ASSERT_TRUE(wait_until([] { return m_info.active_app == STREAMING_APP; }));
    EXPECT_TRUE(wait_until([&] { return number_on_screen() && *number_on_screen() > *reviewed + 25; }))
        << "what is live is ahead of what was reviewed";
    click("switch_dispatch");
    ASSERT_TRUE(wait_until([] { return m_info.active_app == PLAYBACK_APP; }));

    click("Record");
    EXPECT_TRUE(wait_until([] { return (m_info.action_bit & (1 << RECORD_BIT)) == 0; }));
    EXPECT_TRUE((m_info.action_bit & (1 << STREAMING_BIT)) != 0);
    EXPECT_TRUE(wait_until([] { return m_info.player_info.is_recording == 0; }));
}

} // namespace
