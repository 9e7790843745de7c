// The network stream dialog, opened from the menu of the real window and driven like a person drives it.
#include "network_stream.h"

#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>

#include <algorithm>
#include <array>

namespace {

constexpr std::array plain_fields{"unicasRd", "multicastRD", "ipLE", "ipLbl", "portLE", "portLbl"};
constexpr std::array rtsp_fields{"rtsp_urlLE",          "rtsp_urlLbl",        "rtsp_sdpLbl", "rtsp_sdpLE",
                                 "rtsp_serial_portLbl", "rtsp_serial_portLE", "rtsp_tcpRD",  "rtsp_udpRD"};

class NetworkStreamTest : public MainWindowTest {
protected:
    using Dialog = network_stream;

    void in_dialog(const std::function<void(Dialog&)>& work) {
        work_in<Dialog>("actionNetwork_Stream", work);
    }
    /// Looks at the dialog and cancels it.
    void look_at_dialog(const std::function<void(Dialog&)>& look) {
        in_dialog([&](Dialog& dialog) {
            look(dialog);
            click_on(dialog, "cancelNetwork");
        });
    }
    static void store(const QJsonObject& network) { save_section(QStringLiteral("network"), network); }
    static QJsonValue stored(const char* key) {
        return saved_configuration().value(QStringLiteral("network")).toObject().value(QLatin1String(key));
    }
    static QJsonValue stored_record(const char* key) {
        return saved_configuration().value(QStringLiteral("record")).toObject().value(QLatin1String(key));
    }
    static std::string text(const Dialog& dialog, const char* field) {
        return part<QLineEdit>(dialog, field).text().toStdString();
    }
    static bool checked(const Dialog& dialog, const char* button) {
        return part<QAbstractButton>(dialog, button).isChecked();
    }
    static void expect_fields_of(const Dialog& dialog, bool rtsp) {
        for (const char* name : plain_fields) {
            EXPECT_EQ(part(dialog, name).isVisible(), !rtsp) << name;
        }
        for (const char* name : rtsp_fields) {
            EXPECT_EQ(part(dialog, name).isVisible(), rtsp) << name;
        }
    }
    static void expect_group_address_enabled(const Dialog& dialog, bool enabled) {
        for (const char* name : {"ipLE", "ipLbl"}) {
            EXPECT_EQ(part(dialog, name).isEnabled(), enabled) << name;
        }
        EXPECT_TRUE(part(dialog, "portLE").isEnabled());
    }
};

TEST_F(NetworkStreamTest, AFreshStartShowsTheDefaults) {
    open_window();
    look_at_dialog([](Dialog& dialog) {
        EXPECT_TRUE(checked(dialog, "transportRD"));
        EXPECT_TRUE(checked(dialog, "unicasRd"));
        expect_fields_of(dialog, false);
        expect_group_address_enabled(dialog, false);
        EXPECT_EQ(text(dialog, "portLE"), "1234");
        EXPECT_EQ(text(dialog, "ipLE"), "225.0.0.1");
        EXPECT_EQ(text(dialog, "rtsp_urlLE"), "0.0.0.0");
        EXPECT_EQ(text(dialog, "rtsp_sdpLE"), "mux1.sdp");
        EXPECT_EQ(text(dialog, "rtsp_serial_portLE"), "554");
        EXPECT_EQ(text(dialog, "rec_path"), "/");
        EXPECT_FALSE(part<QGroupBox>(dialog, "record_grp").isChecked());
        EXPECT_TRUE(checked(dialog, "record_index_mode"));
        EXPECT_EQ(part<QSpinBox>(dialog, "sync_delay").value(), 0);
    });
}

TEST_F(NetworkStreamTest, TheStoredTransportIsChecked) {
    const std::array<const char*, 6> shown{"transportRD", "transportRD", "rtpRD",
                                           "splitRD",     "rtspRD",      "transportRD"};
    open_window();
    for (int ts = 0; ts < static_cast<int>(shown.size()); ++ts) {
        m_mpCfg->p_networkCfg->ts = ts;
        look_at_dialog([&](Dialog& dialog) {
            EXPECT_TRUE(checked(dialog, shown.at(static_cast<std::size_t>(ts)))) << ts;
            expect_fields_of(dialog, ts == RTSP);
        });
    }
}

TEST_F(NetworkStreamTest, ATransportWithoutAButtonIsSavedAsTransport) {
    store({{QStringLiteral("Transport"), 0}});
    open_window();
    in_dialog([](Dialog& dialog) {
        EXPECT_TRUE(checked(dialog, "transportRD"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("Transport"), QJsonValue{1});
}

TEST_F(NetworkStreamTest, OpensWithRtspOverTcp) {
    store({{QStringLiteral("Transport"), 4}, {QStringLiteral("rtsp_mode"), 1}});
    open_window();
    look_at_dialog([](Dialog& dialog) {
        EXPECT_TRUE(checked(dialog, "rtspRD"));
        EXPECT_TRUE(checked(dialog, "rtsp_tcpRD"));
        EXPECT_FALSE(checked(dialog, "rtsp_udpRD"));
        expect_fields_of(dialog, true);
    });
}

TEST_F(NetworkStreamTest, MulticastEnablesTheGroupsAddress) {
    store({{QStringLiteral("Mode"), 0}});
    open_window();
    look_at_dialog([](Dialog& dialog) {
        EXPECT_TRUE(checked(dialog, "multicastRD"));
        expect_group_address_enabled(dialog, true);
        click_on(dialog, "unicasRd");
        expect_group_address_enabled(dialog, false);
        click_on(dialog, "multicastRD");
        expect_group_address_enabled(dialog, true);
    });
}

TEST_F(NetworkStreamTest, SwitchingTheTransportReturnsToWhatIsStored) {
    store({{QStringLiteral("Mode"), 0}, {QStringLiteral("rtsp_mode"), 1}});
    open_window();
    look_at_dialog([](Dialog& dialog) {
        click_on(dialog, "unicasRd");
        click_on(dialog, "rtspRD");
        expect_fields_of(dialog, true);
        EXPECT_TRUE(checked(dialog, "rtsp_tcpRD"));
        click_on(dialog, "rtsp_udpRD");
        click_on(dialog, "splitRD");
        expect_fields_of(dialog, false);
        EXPECT_TRUE(checked(dialog, "multicastRD")) << "stored, though Unicast was clicked";
        expect_group_address_enabled(dialog, true);
        click_on(dialog, "rtspRD");
        EXPECT_TRUE(checked(dialog, "rtsp_tcpRD")) << "stored, though UDP was clicked";
    });
}

TEST_F(NetworkStreamTest, PlayStoresTheSettingsAndStartsLiveViewWithThem) {
    open_window();
    engine().forget_calls();
    in_dialog([this](Dialog& dialog) {
        click_on(dialog, "rtpRD");
        click_on(dialog, "multicastRD");
        type_into(dialog, "ipLE", QStringLiteral("239.1.2.3"));
        type_into(dialog, "portLE", QStringLiteral("5004"));
        type_into(dialog, "sync_delay", QStringLiteral("40"));
        click_on(dialog, "record_grp");
        click_on(dialog, "record_index_mode");
        EXPECT_TRUE(calls().empty()) << "the dialog itself never calls the engine";
        click_on(dialog, "playNetwork");
        EXPECT_EQ(dialog.result(), 1);
    });
    EXPECT_EQ(stored("Transport"), QJsonValue{2});
    EXPECT_EQ(stored("Mode"), QJsonValue{0});
    EXPECT_EQ(stored("IP"), QJsonValue{QStringLiteral("239.1.2.3")});
    EXPECT_EQ(stored("Port"), QJsonValue{5004});
    EXPECT_EQ(stored("sync_delay"), QJsonValue{40});
    EXPECT_EQ(stored("do_record"), QJsonValue{1});
    EXPECT_EQ(stored_record("Trick_mode"), QJsonValue{0});
    const auto setup = std::get<streaming_setup_t>(last_call("Velmora_set_streaming_param")->record);
    EXPECT_EQ(setup.port, 5004);
    EXPECT_EQ(setup.multicast_addr, 0xEF010203U);
    EXPECT_EQ(setup.protocol, Protocol_RTPUDP);
    EXPECT_EQ(setup.sync_delay_ms, 40);
    EXPECT_EQ(std::get<record_setup_t>(last_call("Velmora_set_record_param")->record).is_trick_mode, 0);
    EXPECT_EQ(last_call("Velmora_start")->number, 12);
}

TEST_F(NetworkStreamTest, RtspReachesFileAndEngine) {
    open_window();
    in_dialog([](Dialog& dialog) {
        click_on(dialog, "rtspRD");
        type_into(dialog, "rtsp_urlLE", QStringLiteral("10.0.0.9"));
        type_into(dialog, "rtsp_serial_portLE", QStringLiteral("8554"));
        type_into(dialog, "rtsp_sdpLE", QStringLiteral("cam.sdp"));
        click_on(dialog, "rtsp_tcpRD");
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("Transport"), QJsonValue{4});
    EXPECT_EQ(stored("rtsp_mode"), QJsonValue{1});
    EXPECT_EQ(stored("rtsp_serial_port"), QJsonValue{8554});
    const auto call = last_call("Velmora_set_streaming_param");
    EXPECT_EQ(call->texts, (std::vector<std::string>{"10.0.0.9", "cam.sdp"}));
    EXPECT_EQ(std::get<streaming_setup_t>(call->record).protocol, Protocol_RTSPTCP);
    EXPECT_EQ(last_call("Velmora_start")->number, 4);
}

TEST_F(NetworkStreamTest, EachKindOfTransportLeavesTheOthersSettingsAlone) {
    const QJsonObject before{{QStringLiteral("Transport"), 4},
                             {QStringLiteral("Port"), 5000},
                             {QStringLiteral("Mode"), 0},
                             {QStringLiteral("IP"), QStringLiteral("239.9.9.9")},
                             {QStringLiteral("rtsp_mode"), 1},
                             {QStringLiteral("rtsp_serial_port"), 8000},
                             {QStringLiteral("rtsp_url"), QStringLiteral("10.1.1.1")},
                             {QStringLiteral("rtsp_sdp"), QStringLiteral("a.sdp")}};
    store(before);
    open_window();
    in_dialog([](Dialog& dialog) {
        // Fields that are not shown still hold what is stored; nothing of them may be taken.
        part<QLineEdit>(dialog, "ipLE").setText(QStringLiteral("1.1.1.1"));
        part<QLineEdit>(dialog, "portLE").setText(QStringLiteral("1"));
        click_on(dialog, "playNetwork");
    });
    for (const char* key : {"IP", "Port", "Mode"}) {
        EXPECT_EQ(stored(key), before.value(QLatin1String(key))) << key;
    }
    in_dialog([](Dialog& dialog) {
        click_on(dialog, "transportRD");
        part<QLineEdit>(dialog, "rtsp_urlLE").setText(QStringLiteral("x"));
        part<QLineEdit>(dialog, "rtsp_sdpLE").setText(QStringLiteral("x"));
        part<QLineEdit>(dialog, "rtsp_serial_portLE").setText(QStringLiteral("1"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("Transport"), QJsonValue{1});
    for (const char* key : {"rtsp_url", "rtsp_sdp", "rtsp_serial_port", "rtsp_mode"}) {
        EXPECT_EQ(stored(key), before.value(QLatin1String(key))) << key;
    }
}

TEST_F(NetworkStreamTest, ADelayBeyondTheRangeIsShownAndSavedAsItsEnd) {
    store({{QStringLiteral("sync_delay"), 250}});
    open_window();
    in_dialog([](Dialog& dialog) {
        EXPECT_EQ(part<QSpinBox>(dialog, "sync_delay").value(), 99);
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("sync_delay"), QJsonValue{99});
}

TEST_F(NetworkStreamTest, APortThatIsNoNumberIsZero) {
    open_window();
    in_dialog([](Dialog& dialog) {
        type_into(dialog, "portLE", QStringLiteral("abc"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("Port"), QJsonValue{0});
    in_dialog([](Dialog& dialog) {
        click_on(dialog, "rtspRD");
        type_into(dialog, "rtsp_serial_portLE", QStringLiteral("554x"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("rtsp_serial_port"), QJsonValue{0});
}

TEST_F(NetworkStreamTest, TextsAreStoredAsLatin1) {
    open_window();
    in_dialog([](Dialog& dialog) {
        click_on(dialog, "rtspRD");
        part<QLineEdit>(dialog, "rtsp_sdpLE").setText(QString::fromUtf8("caf\xC3\xA9\xE6\xBC\xA2.sdp"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("rtsp_sdp").toString().toStdString(), "caf\xC3\xA9?.sdp");
}

TEST_F(NetworkStreamTest, AChosenDirectoryCountsAtOnceButReachesTheFileWithPlay) {
    store({{QStringLiteral("do_record"), 1}});
    open_window();
    const QString start = QDir::currentPath();
    ASSERT_TRUE(QDir{}.mkdir(QStringLiteral("films")));
    const QString films = QDir::current().filePath(QStringLiteral("films"));
    m_mpCfg->p_recordCfg->directory_path = start;
    const auto choose_films = [&](Dialog& dialog) {
        when_dialog_opens<QFileDialog>([&](QFileDialog& chooser) {
            EXPECT_EQ(chooser.windowTitle().toStdString(), "Open_file");
            EXPECT_EQ(chooser.directory().absolutePath(), start);
            EXPECT_TRUE(chooser.testOption(QFileDialog::ShowDirsOnly));
            EXPECT_EQ(chooser.parentWidget(), &dialog);
            choose_path(chooser, films);
        });
        click_on(dialog, "record_browes");
        EXPECT_EQ(part<QLineEdit>(dialog, "rec_path").text(), films);
    };
    in_dialog([&](Dialog& dialog) {
        choose_films(dialog);
        EXPECT_EQ(m_mpCfg->p_recordCfg->directory_path, films);
        click_on(dialog, "cancelNetwork");
    });
    EXPECT_EQ(m_mpCfg->p_recordCfg->directory_path, films) << "Cancel does not take it back";
    EXPECT_TRUE(stored_record("Path").isUndefined());
    in_dialog([&](Dialog& dialog) {
        EXPECT_EQ(part<QLineEdit>(dialog, "rec_path").text(), films);
        type_into(dialog, "rec_path", QStringLiteral("/typed/by/hand"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored_record("Path"), QJsonValue{films}) << "what was typed is not read";
}

TEST_F(NetworkStreamTest, ACancelledChooserEmptiesTheDirectory) {
    store({{QStringLiteral("do_record"), 1}});
    open_window();
    in_dialog([this](Dialog& dialog) {
        when_dialog_opens<QFileDialog>([](QFileDialog& chooser) { cancel_chooser(chooser); });
        click_on(dialog, "record_browes");
        EXPECT_EQ(text(dialog, "rec_path"), "");
        EXPECT_TRUE(m_mpCfg->p_recordCfg->directory_path.isEmpty());
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored_record("Path"), QJsonValue{QString{}});
}

TEST_F(NetworkStreamTest, CancelEscapeAndTheFrameStartAndStoreNothing) {
    open_window();
    const QJsonObject before = saved_configuration();
    engine().forget_calls();
    for (const auto& leave : std::vector<std::function<void(Dialog&)>>{
             [](Dialog& dialog) { click_on(dialog, "cancelNetwork"); }, press_escape, close_by_frame}) {
        in_dialog([&](Dialog& dialog) {
            click_on(dialog, "rtspRD");
            type_into(dialog, "rtsp_urlLE", QStringLiteral("10.0.0.9"));
            click_on(dialog, "record_grp");
            leave(dialog);
            EXPECT_FALSE(dialog.isVisible());
            EXPECT_EQ(dialog.result(), 0);
        });
    }
    EXPECT_TRUE(calls().empty());
    EXPECT_EQ(m_VidDisp, 0U);
    EXPECT_EQ(saved_configuration(), before);
    EXPECT_EQ(m_mpCfg->p_networkCfg->ts, TRANSPORT);
    EXPECT_EQ(m_mpCfg->p_networkCfg->is_recording, 0);
}

TEST_F(NetworkStreamTest, EnterInAFieldPlays) {
    open_window();
    in_dialog([](Dialog& dialog) {
        type_into(dialog, "portLE", QStringLiteral("4000"));
        QTest::keyClick(&part(dialog, "portLE"), Qt::Key_Return);
    });
    EXPECT_EQ(stored("Port"), QJsonValue{4000});
    EXPECT_EQ(last_call("Velmora_start")->number, 4);
}

TEST_F(NetworkStreamTest, WithoutAnEngineTheSettingsAreStoredAndTheBannerStays) {
    remove_engine();
    open_window();
    in_dialog([](Dialog& dialog) {
        type_into(dialog, "portLE", QStringLiteral("4001"));
        click_on(dialog, "playNetwork");
    });
    EXPECT_EQ(stored("Port"), QJsonValue{4001});
    EXPECT_EQ(m_VidDisp, 0U);
}

} // namespace
