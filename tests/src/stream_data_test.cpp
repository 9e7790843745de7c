// The stream data dialog, opened from the menu of the real window and driven like a person drives it.
#include "stream_data.h"

#include "dialog_driver.h"
#include "main_window_fixture.h"

#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

class StreamDataTest : public MainWindowTest {
protected:
    using Dialog = stream_data;

    void in_dialog(const std::function<void(Dialog&)>& work) { work_in<Dialog>("actionData", work); }
    static void store(const QJsonObject& data) { save_section(QStringLiteral("stream_data_save"), data); }
    static QJsonObject stored() {
        return saved_configuration().value(QStringLiteral("stream_data_save")).toObject();
    }
    /// Answers the chooser behind the "..." button; an empty path cancels it.
    void browse(Dialog& dialog, const QString& path) {
        when_dialog_opens<QFileDialog>([path](QFileDialog& chooser) {
            EXPECT_EQ(chooser.windowTitle().toStdString(), "Open Image");
            EXPECT_EQ(chooser.nameFilters(), QStringList{QStringLiteral("Binary File (*.bin)")});
            EXPECT_EQ(chooser.acceptMode(), QFileDialog::AcceptSave);
            EXPECT_EQ(chooser.directory().absolutePath(), QDir::homePath());
            path.isEmpty() ? cancel_chooser(chooser) : choose_path(chooser, path);
        });
        click_on(dialog, "data_btowes");
    }
    static std::string text(const Dialog& dialog, const char* field) {
        return part<QLineEdit>(dialog, field).text().toStdString();
    }
    static bool ticked(const Dialog& dialog, const char* group) {
        return part<QGroupBox>(dialog, group).isChecked();
    }
};

TEST_F(StreamDataTest, IsTitledFormAndStandsAlone) {
    open_window();
    in_dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.windowTitle().toStdString(), "Form");
        EXPECT_EQ(dialog.parentWidget(), nullptr);
        for (const auto& [name, expected] :
             std::vector<std::pair<const char*, const char*>>{{"label", "IP:"},
                                                              {"label_2", "Port:"},
                                                              {"label_3", "Send Data by Ethernet:"},
                                                              {"label_4", "Select File:"},
                                                              {"label_6", "Write to File:"},
                                                              {"label_7", "Data:"}}) {
            EXPECT_EQ(part<QLabel>(dialog, name).text().toStdString(), expected);
        }
        for (const char* heading : {"label_3", "label_6", "label_7"}) {
            EXPECT_TRUE(part<QLabel>(dialog, heading).font().bold()) << heading;
        }
        EXPECT_EQ(part<QPushButton>(dialog, "data_btowes").text().toStdString(), "...");
        EXPECT_EQ(part<QPushButton>(dialog, "save_data_param").text().toStdString(), "Set");
        EXPECT_EQ(part<QPushButton>(dialog, "data_cancel").text().toStdString(), "Cancel");
        click_on(dialog, "data_cancel");
    });
}

TEST_F(StreamDataTest, ShowsWhatIsStored) {
    store({{QStringLiteral("IP"), QStringLiteral("10.0.0.7")},
           {QStringLiteral("Port"), 77},
           {QStringLiteral("File_name"), QStringLiteral("/d/x.bin")},
           {QStringLiteral("is_eth"), 1},
           {QStringLiteral("is_file"), 0}});
    open_window();
    in_dialog([](Dialog& dialog) {
        EXPECT_TRUE(ticked(dialog, "data_eth_enable"));
        EXPECT_FALSE(ticked(dialog, "data_file_enable"));
        EXPECT_EQ(text(dialog, "data_eth_ip"), "10.0.0.7");
        EXPECT_EQ(text(dialog, "data_eth_port"), "77");
        EXPECT_EQ(text(dialog, "data_file_name"), "/d/x.bin");
        click_on(dialog, "data_cancel");
    });
}

TEST_F(StreamDataTest, SetStoresAndTheNextLiveViewUsesIt) {
    open_window();
    in_dialog([](Dialog& dialog) {
        click_on(dialog, "data_eth_enable");
        type_into(dialog, "data_eth_ip", QStringLiteral("10.0.0.8"));
        type_into(dialog, "data_eth_port", QStringLiteral("9000"));
        click_on(dialog, "data_file_enable");
        type_into(dialog, "data_file_name", QStringLiteral("/d/y.bin"));
        click_on(dialog, "save_data_param");
        EXPECT_EQ(dialog.result(), 1);
    });
    EXPECT_EQ(stored(), (QJsonObject{{QStringLiteral("IP"), QStringLiteral("10.0.0.8")},
                                     {QStringLiteral("Port"), 9000},
                                     {QStringLiteral("File_name"), QStringLiteral("/d/y.bin")},
                                     {QStringLiteral("is_eth"), 1},
                                     {QStringLiteral("is_file"), 1}}));
    EXPECT_EQ(m_VidDisp, 0U) << "nothing starts by itself";
    trigger("actionStartStream");
    const auto call = last_call("Velmora_set_data_param");
    const auto setup = std::get<data_setup_t>(call->record);
    EXPECT_EQ(setup.is_send_by_eth, 1);
    EXPECT_EQ(setup.is_save_by_file, 1);
    EXPECT_EQ(setup.ip, 0x0A000008U);
    EXPECT_EQ(setup.port, 9000);
    EXPECT_EQ(call->texts, std::vector<std::string>{"/d/y.bin"});
}

TEST_F(StreamDataTest, SetWithBothGroupsOffStillStoresTheirFields) {
    store({{QStringLiteral("is_eth"), 1}, {QStringLiteral("is_file"), 1}});
    open_window();
    in_dialog([](Dialog& dialog) {
        type_into(dialog, "data_eth_ip", QStringLiteral("10.0.0.9"));
        type_into(dialog, "data_eth_port", QStringLiteral("many"));
        type_into(dialog, "data_file_name", QStringLiteral("/d/z.bin"));
        click_on(dialog, "data_eth_enable");
        click_on(dialog, "data_file_enable");
        EXPECT_FALSE(part(dialog, "data_eth_ip").isEnabled());
        click_on(dialog, "save_data_param");
    });
    EXPECT_EQ(stored(), (QJsonObject{{QStringLiteral("IP"), QStringLiteral("10.0.0.9")},
                                     {QStringLiteral("Port"), 0},
                                     {QStringLiteral("File_name"), QStringLiteral("/d/z.bin")},
                                     {QStringLiteral("is_eth"), 0},
                                     {QStringLiteral("is_file"), 0}}));
}

TEST_F(StreamDataTest, AChosenFileNeedNotExist) {
    store({{QStringLiteral("is_file"), 1}});
    open_window();
    const QString file = QDir::current().filePath(QStringLiteral("new.bin"));
    in_dialog([&](Dialog& dialog) {
        browse(dialog, file);
        EXPECT_EQ(part<QLineEdit>(dialog, "data_file_name").text(), file);
        EXPECT_EQ(m_mpCfg->p_stream_data->file_name.toStdString(), "/data.bin") << "until Set";
        click_on(dialog, "save_data_param");
    });
    EXPECT_EQ(stored().value(QStringLiteral("File_name")), QJsonValue{file});
    EXPECT_FALSE(QFile::exists(file));
}

TEST_F(StreamDataTest, ACancelledChooserEmptiesTheField) {
    store({{QStringLiteral("is_file"), 1}});
    open_window();
    in_dialog([this](Dialog& dialog) {
        browse(dialog, QString{});
        EXPECT_EQ(text(dialog, "data_file_name"), "");
        click_on(dialog, "save_data_param");
    });
    EXPECT_EQ(stored().value(QStringLiteral("File_name")), QJsonValue{QString{}});
}

TEST_F(StreamDataTest, CancelEscapeAndTheFrameLeaveTheFileUntouched) {
    open_window();
    const QJsonObject before = saved_configuration();
    for (const auto& leave : std::vector<std::function<void(Dialog&)>>{
             [](Dialog& dialog) { click_on(dialog, "data_cancel"); }, press_escape, close_by_frame}) {
        in_dialog([&](Dialog& dialog) {
            click_on(dialog, "data_eth_enable");
            type_into(dialog, "data_eth_ip", QStringLiteral("1.2.3.4"));
            leave(dialog);
            EXPECT_FALSE(dialog.isVisible());
            EXPECT_EQ(dialog.result(), 0);
        });
    }
    EXPECT_EQ(saved_configuration(), before);
    EXPECT_EQ(m_mpCfg->p_stream_data->ip.toStdString(), "127.0.0.1");
    EXPECT_EQ(m_mpCfg->p_stream_data->is_send_by_eth, 0);
}

TEST_F(StreamDataTest, EnterSetsAndTabWalksFromTopToBottom) {
    store({{QStringLiteral("is_eth"), 1}, {QStringLiteral("is_file"), 1}});
    open_window();
    in_dialog([](Dialog& dialog) {
        EXPECT_EQ(
            walk_by_tab(dialog, "data_eth_enable", 8),
            (std::vector<std::string>{"data_eth_enable", "data_eth_ip", "data_eth_port", "data_file_enable",
                                      "data_file_name", "data_btowes", "save_data_param", "data_cancel"}));
        QTest::keyClick(&part(dialog, "data_eth_port"), Qt::Key_Return);
        EXPECT_EQ(dialog.result(), 1);
    });
    EXPECT_EQ(stored().value(QStringLiteral("is_eth")), QJsonValue{1});
}

} // namespace
