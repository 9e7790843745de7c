// The statistics dialog, opened from the menu and driven like a person drives it.
#include "statistic.h"

#include "main_window_fixture.h"

#include <QLabel>
#include <QPushButton>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <functional>
#include <utility>

namespace {

constexpr int poll_interval_ms = 500;

/// Looks at a dialog in the moment it shows, before any of its timers can have run.
class DialogShown : public QObject {
public:
    explicit DialogShown(std::function<void(const QDialog&)> look) : look_{std::move(look)} {
        qApp->installEventFilter(this);
    }
    bool was_taken() const { return taken_; }

    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* const dialog = qobject_cast<QDialog*>(watched);
        if (event->type() == QEvent::Show && dialog != nullptr && !taken_) {
            taken_ = true;
            look_(*dialog);
        }
        return false;
    }

private:
    std::function<void(const QDialog&)> look_;
    bool taken_{false};
};

class StatisticTest : public MainWindowTest {
protected:
    StatisticTest() { p_info = velmora_info_t{}; }

    void SetUp() override {
        open_window();
        open_session();
    }

    /// Opens the dialog, lets the person act, and sees to it that it is closed afterwards.
    void open_dialog(const std::function<void()>& person) {
        when_dialog_opens([&](QDialog& opened) {
            dialog_ = qobject_cast<statistic*>(&opened);
            EXPECT_NE(dialog_, nullptr);
            EXPECT_TRUE(
                QTest::qWaitFor([&] { return QApplication::activeWindow() == &opened; }, patience_ms));
            person();
            if (opened.isVisible()) {
                opened.close();
            }
        });
        trigger("actionStatistic");
    }
    statistic& dialog() { return *dialog_; }
    QLabel* label(const char* name) { return dialog_->findChild<QLabel*>(QLatin1String(name)); }
    std::string text(const char* name) { return label(name)->text().toStdString(); }
    void press(const char* button) {
        QTest::mouseClick(dialog_->findChild<QPushButton*>(QLatin1String(button)), Qt::LeftButton);
    }

    /// The reset argument of every poll so far.
    std::vector<int> polls() const {
        std::vector<int> resets;
        for (const RecordedCall& call : engine().calls()) {
            if (call.name == "Velmora_get_info") {
                EXPECT_EQ(call.handle, m_VidDisp);
                resets.push_back(call.number);
            }
        }
        return resets;
    }
    std::vector<std::chrono::system_clock::time_point> poll_times() const {
        std::vector<std::chrono::system_clock::time_point> times;
        for (const RecordedCall& call : engine().calls()) {
            if (call.name == "Velmora_get_info") {
                times.push_back(call.time);
            }
        }
        return times;
    }
    bool wait_for_polls(std::size_t count) const {
        return QTest::qWaitFor([&] { return polls().size() >= count; }, patience_ms);
    }
    bool wait_for_poll() const { return wait_for_polls(polls().size() + 1); }
    /// A poll now instead of at the timer's next run.
    void poll_now() { ASSERT_TRUE(QMetaObject::invokeMethod(dialog_, "get_info")); }
    void poll_protocol(int protocol) {
        report([&](velmora_info_t& info) { info.get_strm_info.protocol = protocol; });
        poll_now();
    }
    void poll_codec(int codec) {
        report([&](velmora_info_t& info) { info.get_strm_info.a_codec = codec; });
        poll_now();
    }
    /// Lets the event loop run for as long as a running dialog needs for two more polls.
    static void wait_for_two_intervals() {
        QTimer reference;
        int runs = 0;
        QObject::connect(&reference, &QTimer::timeout, [&] { ++runs; });
        reference.start(poll_interval_ms);
        ASSERT_TRUE(QTest::qWaitFor([&] { return runs >= 2; }, patience_ms));
    }
    void expect_no_more_polls() {
        const std::size_t before = polls().size();
        wait_for_two_intervals();
        EXPECT_EQ(polls().size(), before);
    }

private:
    statistic* dialog_{nullptr};
};

TEST_F(StatisticTest, TextsAreTheSystemsOwn) {
    open_dialog([&] {
        EXPECT_EQ(dialog().windowTitle().toStdString(), "Statistic");
        EXPECT_FALSE(dialog().windowIcon().isNull());
        const std::pair<const char*, const char*> texts[] = {
            {"label", "Width:"},           {"label_2", "Height:"},         {"label_3", "Fps:"},
            {"label_4", "Bitrate:"},       {"label_6", "Decoding Error:"}, {"label_7", "Decoding Frame: "},
            {"label_8", "Display Frame:"}, {"label_9", "Protocol:"},       {"label_5", "Statistic"},
            {"label_10", "Audio Codec:"},  {"label_11", "Channels:"},      {"label_12", "SampleRate:"},
            {"label_13", "Packets:"},
        };
        for (const auto& [name, expected] : texts) {
            EXPECT_EQ(text(name), expected);
        }
        EXPECT_EQ(label("label_5")->font().pointSize(), 12);
        EXPECT_EQ(label("label_5")->font().weight(), 75);
        EXPECT_EQ(dialog().findChild<QPushButton*>(QStringLiteral("closeBtn"))->text().toStdString(),
                  "Close");
        EXPECT_EQ(dialog().findChild<QPushButton*>(QStringLiteral("resetStatisticBtn"))->text().toStdString(),
                  "Reset");
    });
}

TEST_F(StatisticTest, ValuesAreEmptyUntilTheFirstPollHalfASecondLater) {
    const DialogShown first_look{[&](const QDialog& shown) {
        for (const char* name :
             {"widthLbl", "heightLbl", "fpsLbl", "bitratLbl", "decErrorLbl", "decFrmLbl", "disFrmLbl",
              "prot_info_lbl", "AudioCodecLeb", "AudioChannelsLeb", "AudioRateLeb", "AudioPaketsLeb"}) {
            EXPECT_EQ(shown.findChild<QLabel*>(QLatin1String(name))->text().toStdString(), "") << name;
        }
        EXPECT_TRUE(polls().empty());
    }};
    const auto before = std::chrono::system_clock::now();
    open_dialog([&] {
        EXPECT_TRUE(first_look.was_taken());
        ASSERT_TRUE(wait_for_polls(3));
        std::chrono::milliseconds earliest{0};
        for (const auto time : poll_times()) {
            earliest += std::chrono::milliseconds{poll_interval_ms} * 9 / 10;
            EXPECT_GE(time - before, earliest);
        }
    });
}

TEST_F(StatisticTest, ShowsEveryFigureWithoutUnits) {
    report([](velmora_info_t& info) {
        info.inp_width = 1920;
        info.inp_height = 1080;
        info.get_strm_info.inp_fps = 25;
        info.get_strm_info.imp_bitrate = 12345678;
        info.get_strm_info.inp_dec_error = 3;
        info.get_strm_info.inp_dec_frame = 4000;
        info.get_strm_info.inp_disp_frames = 3999;
        info.get_strm_info.protocol = Protocol_RTPUDP;
        info.get_strm_info.a_codec = 0x15001;
        info.get_strm_info.a_channles = 2;
        info.get_strm_info.a_sample_rate = 48000;
        info.get_strm_info.a_bitrate = 192;
    });
    open_dialog([&] {
        ASSERT_TRUE(wait_for_poll());
        EXPECT_EQ(text("widthLbl"), "1920");
        EXPECT_EQ(text("heightLbl"), "1080");
        EXPECT_EQ(text("fpsLbl"), "25");
        EXPECT_EQ(text("bitratLbl"), "12345678");
        EXPECT_EQ(text("decErrorLbl"), "3");
        EXPECT_EQ(text("decFrmLbl"), "4000");
        EXPECT_EQ(text("disFrmLbl"), "3999");
        EXPECT_EQ(text("prot_info_lbl"), "RTP");
        EXPECT_EQ(text("AudioCodecLeb"), "MP3");
        EXPECT_EQ(text("AudioChannelsLeb"), "2");
        EXPECT_EQ(text("AudioRateLeb"), "48000");
        EXPECT_EQ(text("AudioPaketsLeb"), "192") << "captioned Packets, showing the bit rate";
    });
}

TEST_F(StatisticTest, NamesTheProtocolsAndLeavesTheLabelAtOthers) {
    report([](velmora_info_t& info) { info.get_strm_info.protocol = Protocol_HTTP; });
    open_dialog([&] {
        poll_protocol(Protocol_HTTP);
        EXPECT_EQ(text("prot_info_lbl"), "") << "a fresh dialog";
        const char* const names[] = {"PRIVATE", "MPEG2TS", "RTP", "RTSP/UDP", "RTSP/TCP", "SPLIT"};
        for (int protocol = 0; protocol < 6; ++protocol) {
            poll_protocol(protocol);
            EXPECT_EQ(text("prot_info_lbl"), names[protocol]);
        }
        for (const int unknown : {static_cast<int>(Protocol_HTTP), 7, -1}) {
            poll_protocol(unknown);
            EXPECT_EQ(text("prot_info_lbl"), "SPLIT") << unknown;
        }
    });
}

TEST_F(StatisticTest, NamesTheAudioCodecs) {
    open_dialog([&] {
        for (const auto& [codec, name] :
             {std::pair{86016, "MP2"}, {86017, "MP3"}, {86076, "OPUS"}, {69643, "G726"}}) {
            poll_codec(codec);
            EXPECT_EQ(text("AudioCodecLeb"), name);
        }
    });
}

TEST_F(StatisticTest, WithoutAudioTheThreeAudioFiguresAreZero) {
    report([](velmora_info_t& info) {
        info.get_strm_info.a_channles = 2;
        info.get_strm_info.a_sample_rate = 48000;
        info.get_strm_info.a_bitrate = 128;
    });
    open_dialog([&] {
        poll_codec(0x15001);
        EXPECT_EQ(text("AudioCodecLeb"), "MP3");
        EXPECT_EQ(text("AudioRateLeb"), "48000");
        poll_codec(0);
        EXPECT_EQ(text("AudioCodecLeb"), "No Audio");
        EXPECT_EQ(text("AudioChannelsLeb"), "0");
        EXPECT_EQ(text("AudioRateLeb"), "0");
        EXPECT_EQ(text("AudioPaketsLeb"), "0");
    });
}

TEST_F(StatisticTest, AnUnknownAudioCodecLeavesTheNameButShowsItsFigures) {
    open_dialog([&] {
        poll_codec(0x15000);
        report([](velmora_info_t& info) {
            info.get_strm_info.a_channles = 6;
            info.get_strm_info.a_sample_rate = 44100;
            info.get_strm_info.a_bitrate = 384;
        });
        for (const int unknown : {0x15002, -5}) {
            poll_codec(unknown);
            EXPECT_EQ(text("AudioCodecLeb"), "MP2");
            EXPECT_EQ(text("AudioChannelsLeb"), "6");
            EXPECT_EQ(text("AudioRateLeb"), "44100");
            EXPECT_EQ(text("AudioPaketsLeb"), "384");
        }
    });
}

TEST_F(StatisticTest, ResetAsksTheEngineOnceAtTheNextPoll) {
    open_dialog([&] {
        ASSERT_TRUE(wait_for_polls(1));
        press("resetStatisticBtn");
        press("resetStatisticBtn");
        EXPECT_EQ(polls(), (std::vector{0})) << "the engine hears of it with the next poll";
        ASSERT_TRUE(wait_for_polls(3));
        EXPECT_EQ(polls(), (std::vector{0, 1, 0}));
    });
}

TEST_F(StatisticTest, TheCloseButtonStopsPollingBeforeTheWindowCloses) {
    /// Watches the engine from the close event on, before the dialog itself sees the event.
    class AtClose : public QObject {
    public:
        explicit AtClose(std::function<void()> action) : action_{std::move(action)} {}
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            if (event->type() == QEvent::Close) {
                std::exchange(action_, [] {})();
            }
            return false;
        }

    private:
        std::function<void()> action_;
    };
    bool closed = false;
    AtClose watch{[&] {
        closed = true;
        EXPECT_TRUE(dialog().isVisible());
        expect_no_more_polls();
    }};
    open_dialog([&] {
        ASSERT_TRUE(wait_for_poll());
        dialog().installEventFilter(&watch);
        press("closeBtn");
        EXPECT_FALSE(dialog().isVisible());
        dialog().removeEventFilter(&watch);
    });
    EXPECT_TRUE(closed);
    expect_no_more_polls();
}

TEST_F(StatisticTest, TheWindowFrameStopsPolling) {
    open_dialog([&] {
        ASSERT_TRUE(wait_for_poll());
        dialog().windowHandle()->close();
        EXPECT_FALSE(dialog().isVisible());
    });
    expect_no_more_polls();
}

TEST_F(StatisticTest, EscapeStopsPolling) {
    open_dialog([&] {
        ASSERT_TRUE(wait_for_poll());
        QTest::keyClick(&dialog(), Qt::Key_Escape);
        EXPECT_FALSE(dialog().isVisible());
    });
    expect_no_more_polls();
}

TEST_F(StatisticTest, EnterClosesAndTabLeadsFromResetToClose) {
    open_dialog([&] {
        auto* const close = dialog().findChild<QPushButton*>(QStringLiteral("closeBtn"));
        auto* const reset = dialog().findChild<QPushButton*>(QStringLiteral("resetStatisticBtn"));
        EXPECT_TRUE(close->isDefault());
        reset->setFocus();
        QTest::keyClick(reset, Qt::Key_Tab);
        EXPECT_EQ(dialog().focusWidget(), close);
        reset->setFocus();
        QTest::keyClick(&dialog(), Qt::Key_Return);
        EXPECT_FALSE(dialog().isVisible());
    });
    expect_no_more_polls();
}

TEST_F(StatisticTest, EveryOpeningMakesADialogThatStaysWithTheWindow) {
    for (int opening = 1; opening <= 2; ++opening) {
        open_dialog([&] {
            ASSERT_TRUE(wait_for_poll());
            EXPECT_EQ(dialog().parent(), &window());
        });
        EXPECT_EQ(window().findChildren<statistic*>().size(), opening);
    }
    expect_no_more_polls();
}

TEST_F(StatisticTest, WithoutAnEngineTheFiguresOfTheLastPollStand) {
    report([](velmora_info_t& info) { info.inp_width = 704; });
    open_dialog([&] { ASSERT_TRUE(wait_for_poll()); });
    remove_engine();
    const std::size_t before = polls().size();
    open_dialog([&] {
        ASSERT_TRUE(QTest::qWaitFor([&] { return text("widthLbl") == "704"; }, patience_ms));
        EXPECT_EQ(text("prot_info_lbl"), "PRIVATE");
        EXPECT_EQ(text("AudioCodecLeb"), "No Audio");
    });
    EXPECT_EQ(polls().size(), before);
}

TEST_F(StatisticTest, ALongValueWidensTheDialogInsteadOfBeingCut) {
    open_dialog([&] {
        QFont font = dialog().font();
        font.setPointSize(2 * font.pointSize());
        dialog().setFont(font);
        report([](velmora_info_t& info) { info.get_strm_info.imp_bitrate = 2147483647; });
        ASSERT_TRUE(wait_for_poll());
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return label("bitratLbl")->width() >= label("bitratLbl")->sizeHint().width(); },
            patience_ms));
        EXPECT_TRUE(dialog().rect().contains(dialog().childrenRect()));
    });
}

} // namespace
