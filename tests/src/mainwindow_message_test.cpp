// The line over the picture: what the engine says, for how long, and what the window itself says.
#include "dialog_driver.h"
#include "main_window_fixture.h"
#include "message_line.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>

#include <chrono>
#include <cstring>

namespace {

class MessageTest : public MainWindowTest {
protected:
    void say(std::uint32_t number, int kind, const std::string& text) {
        script([&](TestEngineScript& answers) {
            velmora_message_t message{};
            message.number = number;
            message.kind = kind;
            std::memcpy(message.text, text.data(), std::min(text.size(), sizeof message.text));
            answers.message = message;
        });
    }
    void say_nothing() {
        script([](TestEngineScript& answers) { answers.message = std::nullopt; });
    }
    void open_speaking_window() {
        open_window();
        open_session();
    }
    MessageLine* line() { return child<MessageLine>("message_line"); }
    /// What a person, or a program that reads to one, finds on the line; empty when it is hidden.
    std::string said() {
        return line()->isVisible() ? line()->accessibleDescription().toStdString() : std::string{};
    }
    bool wait_for(const std::string& text) {
        return QTest::qWaitFor([&] { return said() == text; }, patience_ms);
    }
    /// The engine has been asked again, so that what it says now is on the line.
    void let_it_ask() {
        auto* const timer = asking_timer();
        ASSERT_NE(timer, nullptr);
        int asked = 0;
        const auto counter = QObject::connect(timer, &QTimer::timeout, [&asked] { ++asked; });
        EXPECT_TRUE(QTest::qWaitFor([&asked] { return asked > 0; }, patience_ms));
        QObject::disconnect(counter);
    }
    /// The timer that asks the engine, while it runs.
    QTimer* asking_timer() {
        const auto timers = window().findChildren<QTimer*>(QString{}, Qt::FindDirectChildrenOnly);
        const auto found = std::ranges::find_if(
            timers, [](const QTimer* timer) { return timer->isActive() && timer->interval() == 250; });
        return found == timers.end() ? nullptr : *found;
    }
    void play_in_dialog(const QString& file) {
        when_dialog_opens([file](QDialog& dialog) {
            part<QLineEdit>(dialog, "file").setText(file);
            click_on(dialog, "play");
        });
        trigger("actionOpen_File");
    }
    void save_record_directory(const QString& path) {
        save_section(QStringLiteral("record"), {{QStringLiteral("Path"), path}});
    }
};

constexpr int lasting_warning = MESSAGE_WARNING + MESSAGE_LASTING;

TEST_F(MessageTest, NothingIsSaidAtFirst) {
    open_window();
    EXPECT_EQ(said(), "");
    EXPECT_EQ(asking_timer(), nullptr) << "there is no session to ask";
    open_session();
    let_it_ask();
    EXPECT_EQ(said(), "");
}

TEST_F(MessageTest, AnEventStandsForFiveSecondsAndNeverAgain) {
    open_speaking_window();
    say(1, MESSAGE_ERROR, "Cannot open the file: it is empty (/a.ts)");
    QElapsedTimer since_said;
    since_said.start();
    ASSERT_TRUE(wait_for("Cannot open the file: it is empty (/a.ts)"));
    ASSERT_TRUE(wait_for(""));
    EXPECT_GE(since_said.elapsed(), 4900);
    let_it_ask();
    EXPECT_EQ(said(), "") << "the engine still reports it";
    say(2, MESSAGE_NOTICE, "Recording to a.ts");
    EXPECT_TRUE(wait_for("Recording to a.ts"));
}

TEST_F(MessageTest, AStateStandsWhileItIsReportedAndItsTextChanges) {
    open_speaking_window();
    say(1, lasting_warning, "No signal for 2 s");
    ASSERT_TRUE(wait_for("No signal for 2 s"));
    EXPECT_FALSE(line()->shows_event()) << "nothing ends it";
    say(1, lasting_warning, "No signal for 3 s");
    EXPECT_TRUE(wait_for("No signal for 3 s"));
    say(1, MESSAGE_NONE, "");
    EXPECT_TRUE(wait_for(""));
}

TEST_F(MessageTest, AStateThatIsNotReportedAnyMoreGoes) {
    open_speaking_window();
    say(1, lasting_warning, "No signal");
    ASSERT_TRUE(wait_for("No signal"));
    say_nothing();
    EXPECT_TRUE(wait_for(""));
}

TEST_F(MessageTest, ANewOneReplacesTheOldOneAtOnce) {
    open_speaking_window();
    say(1, lasting_warning, "No signal");
    ASSERT_TRUE(wait_for("No signal"));
    say(2, MESSAGE_NOTICE, "Recording ended");
    ASSERT_TRUE(wait_for("Recording ended"));
    say(3, MESSAGE_ERROR, "The disk is full");
    ASSERT_TRUE(wait_for("The disk is full"));
    say(4, lasting_warning, "Scrambled");
    EXPECT_TRUE(wait_for("Scrambled"));
    say(3, MESSAGE_ERROR, "The disk is full");
    EXPECT_TRUE(wait_for("")) << "the state is over, the event was said";
}

TEST_F(MessageTest, WhatIsWithdrawnGoesEarly) {
    open_speaking_window();
    say(1, MESSAGE_NOTICE, "Waiting for data on port 1234");
    ASSERT_TRUE(wait_for("Waiting for data on port 1234"));
    say(1, MESSAGE_NONE, "");
    EXPECT_TRUE(wait_for(""));
}

TEST_F(MessageTest, StopAllEndsItAndANewSessionBeginsAnew) {
    open_speaking_window();
    say(1, lasting_warning, "No signal");
    ASSERT_TRUE(wait_for("No signal"));
    trigger("actionStop_All");
    EXPECT_EQ(said(), "");
    EXPECT_EQ(asking_timer(), nullptr);
    say(1, MESSAGE_NOTICE, "Another session's first");
    open_session();
    EXPECT_TRUE(wait_for("Another session's first"));
}

TEST_F(MessageTest, AnEngineWithoutTheSlotIsNotAsked) {
    velmora_ext_t older = *m_velmora_ext;
    older.size = offsetof(velmora_ext_t, Velmora_get_message);
    for (velmora_ext_t* const table : {&older, static_cast<velmora_ext_t*>(nullptr)}) {
        m_velmora_ext = table;
        open_speaking_window();
        say(1, MESSAGE_ERROR, "Not heard");
        EXPECT_EQ(asking_timer(), nullptr);
        EXPECT_EQ(said(), "");
        trigger("actionStop_All");
        close_window();
    }
}

TEST_F(MessageTest, ATextWithoutAnEndIsBounded) {
    open_speaking_window();
    say(1, MESSAGE_ERROR, std::string(300, 'x'));
    EXPECT_TRUE(wait_for(std::string(sizeof velmora_message_t::text, 'x')));
}

TEST_F(MessageTest, ATextIsNoMarkupAndKeepsToItsLine) {
    open_speaking_window();
    say(1, lasting_warning, "<b>Übertragung</b>\n\xE2\x80\xAEstopped");
    EXPECT_TRUE(wait_for("<b>Übertragung</b>  stopped"));
    EXPECT_EQ(line()->accessibleName().toStdString(), "Message");
}

TEST_F(MessageTest, LiesAtTheLowerLeftOfThePictureAndTakesNoMouse) {
    open_speaking_window();
    say(1, lasting_warning, "No signal");
    ASSERT_TRUE(wait_for("No signal"));
    const QWidget* const frame = child("playerFrame");
    EXPECT_EQ(line()->parentWidget(), frame);
    EXPECT_LT(line()->x(), 20);
    EXPECT_LT(frame->height() - line()->geometry().bottom(), 20);
    const QPoint middle = line()->mapTo(&window(), line()->rect().center());
    EXPECT_NE(window().childAt(middle), line());
}

TEST_F(MessageTest, IsSeenWithoutAPictureAndFollowsTheWindow) {
    open_speaking_window();
    click("stop"); // hides the video
    child("symbole")->show();
    say(1, lasting_warning, "The file cannot be opened since it holds nothing that could be shown or heard");
    ASSERT_TRUE(QTest::qWaitFor([this] { return !said().empty(); }, patience_ms));
    for (const QSize& size : {QSize{420, 320}, QSize{1000, 700}, QSize{500, 900}}) {
        window().resize(size);
        ASSERT_TRUE(QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms));
        for (const char* bar : {"inBtn", "outBtn"}) {
            click(bar);
            const QWidget* const frame = child("playerFrame");
            EXPECT_TRUE(line()->isVisible());
            EXPECT_TRUE(frame->rect().contains(line()->geometry())) << size.width() << ' ' << bar;
            const QRect in_window{line()->mapTo(&window(), QPoint{}), line()->size()};
            const QRect pin{child("pinBtn")->mapTo(&window(), QPoint{}), child("pinBtn")->size()};
            EXPECT_FALSE(in_window.intersects(pin)) << size.width() << ' ' << bar;
        }
    }
}

TEST_F(MessageTest, ALongTextIsWrappedInsideThePicture) {
    open_speaking_window();
    say(1, lasting_warning, "x");
    ASSERT_TRUE(wait_for("x"));
    const int one_line = line()->height();
    const std::string path(240, 'p'); // nowhere to break it
    say(1, lasting_warning, path);
    ASSERT_TRUE(wait_for(path));
    EXPECT_GE(line()->height(), one_line * 3 / 2);
    EXPECT_TRUE(child("playerFrame")->rect().contains(line()->geometry()));
}

TEST_F(MessageTest, APathLongerThanTheRecordIsSaid) {
    open_window();
    const QString path = QLatin1Char('/') + QString{199, QLatin1Char('a')};
    play_in_dialog(path);
    EXPECT_EQ(said(), "The path is longer than 199 bytes and cannot be opened.");
    EXPECT_FALSE(last_call("Velmora_start"));
    play_in_dialog(path.left(199));
    EXPECT_TRUE(last_call("Velmora_set_playback_param"));
}

TEST_F(MessageTest, AFolderForRecordingsLongerThanTheRecordIsSaid) {
    QString folder = QDir::currentPath();
    while (folder.size() < 200) {
        folder += QStringLiteral("/a-rather-long-name");
    }
    ASSERT_TRUE(QDir{}.mkpath(folder));
    save_record_directory(folder);
    m_velmora_ext = nullptr; // the window needs no engine for it
    open_window();
    click("Record");
    EXPECT_EQ(said(), "The path is longer than 199 bytes and cannot be recorded to.");
    EXPECT_EQ(last_call("Velmora_start")->number, 4) << "the view starts without the recording";
    report([](velmora_info_t& info) { info.action_bit = 4; });
    poll();
    line()->clear();
    click("Record");
    EXPECT_EQ(said(), "The path is longer than 199 bytes and cannot be recorded to.");
}

TEST_F(MessageTest, AStateComesBackBehindWhatTheWindowSaid) {
    open_speaking_window();
    say(1, lasting_warning, "No signal");
    ASSERT_TRUE(wait_for("No signal"));
    play_in_dialog(QString{200, QLatin1Char('a')});
    let_it_ask();
    EXPECT_EQ(said(), "The path is longer than 199 bytes and cannot be opened.");
    EXPECT_TRUE(wait_for("No signal"));
}

} // namespace
