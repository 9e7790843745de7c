// What the network stream dialog looks like: its texts, the way of the Tab key, larger fonts.
#include "network_stream.h"

#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QLabel>

namespace {

class NetworkStreamFormTest : public MainWindowTest {
protected:
    using Dialog = network_stream;

    /// Looks at the dialog and cancels it.
    void look_at_dialog(const std::function<void(Dialog&)>& look) {
        work_in<Dialog>("actionNetwork_Stream", [&](Dialog& dialog) {
            look(dialog);
            click_on(dialog, "cancelNetwork");
        });
    }
    static void store(const QJsonObject& network) { save_section(QStringLiteral("network"), network); }
};

TEST_F(NetworkStreamFormTest, TextsAreTheSystemsOwn) {
    open_window();
    look_at_dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.windowTitle().toStdString(), "Network streaming");
        const QIcon icon{QStringLiteral(":/new/menuebar/bitmap/network.png")};
        EXPECT_EQ(dialog.windowIcon().pixmap(32, 32).toImage(), icon.pixmap(32, 32).toImage());
        for (const auto& [name, expected] :
             std::vector<std::pair<const char*, const char*>>{{"portLbl", "Port"},
                                                              {"ipLbl", "IP"},
                                                              {"rtsp_urlLbl", "URL(IP)"},
                                                              {"rtsp_serial_portLbl", "Serial Port"},
                                                              {"rtsp_sdpLbl", "SDP"},
                                                              {"label", "Sync Delay (MS):"},
                                                              {"label_5", "Network:"},
                                                              {"label_6", "Stream mode:"}}) {
            EXPECT_EQ(part<QLabel>(dialog, name).text().toStdString(), expected);
        }
        for (const auto& [name, expected] :
             std::vector<std::pair<const char*, const char*>>{{"cancelNetwork", "Cancel"},
                                                              {"playNetwork", "Play"},
                                                              {"record_browes", "Directory"},
                                                              {"unicasRd", "Unicast"},
                                                              {"multicastRD", "Multicast"},
                                                              {"rtsp_udpRD", "UDP"},
                                                              {"rtsp_tcpRD", "TCP"},
                                                              {"transportRD", "Transport"},
                                                              {"rtpRD", "RTP"},
                                                              {"splitRD", "Split"},
                                                              {"rtspRD", "RTSP"},
                                                              {"record_index_mode", "Trick  Mode"}}) {
            EXPECT_EQ(part<QAbstractButton>(dialog, name).text().toStdString(), expected);
        }
        EXPECT_EQ(part<QGroupBox>(dialog, "record_grp").title().toStdString(), "Record");
        for (const char* group : {"groupBox", "groupBox_2"}) {
            EXPECT_TRUE(part<QGroupBox>(dialog, group).title().isEmpty());
            EXPECT_FALSE(part<QGroupBox>(dialog, group).isCheckable());
        }
    });
}

TEST_F(NetworkStreamFormTest, TabWalksTheFormFromTopToBottom) {
    store({{QStringLiteral("do_record"), 1}});
    open_window();
    look_at_dialog([](Dialog& dialog) {
        click_on(dialog, "multicastRD");
        EXPECT_EQ(walk_by_tab(dialog, "transportRD", 11),
                  (std::vector<std::string>{"transportRD", "multicastRD", "ipLE", "portLE", "sync_delay",
                                            "record_grp", "rec_path", "record_browes", "record_index_mode",
                                            "playNetwork", "cancelNetwork"}));
    });
}

/// Where everything that is shown stands, and how large the dialog is.
std::vector<std::pair<std::string, QRect>> places(const QDialog& dialog) {
    std::vector<std::pair<std::string, QRect>> places{{"dialog", QRect{QPoint{}, dialog.size()}}};
    for (const auto* widget : dialog.findChildren<QWidget*>()) {
        if (widget->isVisible()) {
            places.emplace_back(widget->objectName().toStdString(), widget->geometry());
        }
    }
    return places;
}

TEST_F(NetworkStreamFormTest, WhatRtspNeededIsGivenBack) {
    open_window();
    for (const QSize& more : {QSize{0, 0}, QSize{40, 60}}) {
        look_at_dialog([&](Dialog& dialog) {
            dialog.resize(dialog.size() + more);
            QCoreApplication::processEvents();
            const auto before = places(dialog);
            const int height = dialog.height();
            click_on(dialog, "rtspRD");
            QCoreApplication::processEvents();
            EXPECT_GT(dialog.height(), height) << "it has a row more";
            click_on(dialog, "rtpRD");
            QCoreApplication::processEvents();
            EXPECT_EQ(places(dialog), before);
        });
    }
}

TEST_F(NetworkStreamFormTest, ADialogThatOpensWithRtspLeavesNoHole) {
    open_window();
    std::vector<std::pair<std::string, QRect>> usual;
    look_at_dialog([&](Dialog& dialog) { usual = places(dialog); });
    store({{QStringLiteral("Transport"), 4}});
    close_window();
    open_window();
    look_at_dialog([&](Dialog& dialog) {
        ASSERT_TRUE(part(dialog, "rtsp_urlLE").isVisible());
        click_on(dialog, "transportRD");
        QCoreApplication::processEvents();
        EXPECT_EQ(places(dialog), usual);
    });
}

TEST_F(NetworkStreamFormTest, ALargerFontGrowsTheDialogAndHidesNothing) {
    open_window();
    const QFont normal = QApplication::font();
    QSize usual;
    look_at_dialog([&](Dialog& dialog) { usual = dialog.size(); });
    QFont large = normal;
    large.setPointSizeF(normal.pointSizeF() * 2);
    QApplication::setFont(large);
    look_at_dialog([&](Dialog& dialog) {
        EXPECT_GT(dialog.width(), usual.width());
        EXPECT_GT(dialog.height(), usual.height());
        for (const auto* label : dialog.findChildren<QLabel*>()) {
            if (label->isVisible()) {
                EXPECT_GE(label->width(), label->sizeHint().width()) << label->objectName().toStdString();
                EXPECT_GE(label->height(), label->sizeHint().height()) << label->objectName().toStdString();
            }
        }
    });
    QApplication::setFont(normal);
}

} // namespace
