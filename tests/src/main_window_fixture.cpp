#include "main_window_fixture.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QPointer>
#include <QPushButton>

#include <algorithm>
#include <stdexcept>
#include <unistd.h>

namespace {

const QString configuration_name = QStringLiteral("\nzandor_player.cfg");

/// The engine stays loaded for the life of the process, as in the player.
LoadLib& test_engine_library() {
    static LoadLib library{TEST_ENGINE_LIBRARY};
    return library;
}

void reset_player_state() {
    m_VidDisp = 0;
    m_info = velmora_info_t{};
    active_app = 0;
    isStream = 0;
    isRecord = 0;
    isPlayback = 0;
    isStreamPlayback = 0;
    open_file_state = SELECT_FILE;
    pback_dir = 0;
    pback_spd = 0;
    width_screen = 720;
    height_screen = 576;
    option_size = 2;
    animatStutuse = 1;
    isOut = 1;
    x_animate = 1;
    stream_animate = 0;
    res_flag = 0;
    video_size_flag = 0;
    get_video_stop = 0;
    av_volume = 0;
    board_addr = 0;
    rx_socket = 0;
    tx_soxket = 0;
    dir_path.clear();
    for (QTimer* timer :
         {&get_action_info_timer, &playAnimateQtimer, &StreamAnimateQtimer, &getVideoSize, &checkResize}) {
        timer->stop();
    }
}

} // namespace

MainWindowTest::MainWindowTest() : previous_folder_{QDir::currentPath()} {
    if (!QDir::setCurrent(folder_.path())) {
        throw std::runtime_error{"no working directory"};
    }
    LoadLib& library = test_engine_library();
    m_velmora = static_cast<velmora_t*>(library.GetApiPtr("m_velmora"));
    m_velmora_ext = static_cast<velmora_ext_t*>(library.GetApiPtr("m_velmora_ext"));
    control_ = static_cast<const TestEngineControl*>(library.GetApiPtr("test_engine_control"));
    control_->reset();
    reset_player_state();
}

MainWindowTest::~MainWindowTest() {
    close_window();
    for (const int socket : {rx_socket, tx_soxket}) {
        if (socket > 0) {
            ::close(socket);
        }
    }
    QDir::setCurrent(previous_folder_);
}

MainWindow& MainWindowTest::open_window() {
    window_ = std::make_unique<MainWindow>();
    // The poll is driven by the tests; its timer is tested on its own.
    get_action_info_timer.stop();
    window_->show();
    if (!QTest::qWaitForWindowExposed(window_.get(), patience_ms)) {
        throw std::runtime_error{"the window does not show"};
    }
    if (!QTest::qWaitFor([] { return !checkResize.isActive(); }, patience_ms)) {
        throw std::runtime_error{"the layout does not come to rest"};
    }
    return *window_;
}

void MainWindowTest::close_window() {
    window_.reset();
}

QImage MainWindowTest::picture(const char* file) {
    const QIcon icon{QStringLiteral(":/new/menuebar/bitmap/") + QLatin1String(file)};
    return icon.pixmap(32, 32).toImage();
}

bool MainWindowTest::shows_icon(const char* button, const char* file) {
    return child<QPushButton>(button)->icon().pixmap(32, 32).toImage() == picture(file);
}

void MainWindowTest::click(const char* button) {
    QTest::mouseClick(child<QPushButton>(button), Qt::LeftButton);
}

QLabel* MainWindowTest::video() {
    const auto labels =
        child<QWidget>("playerFrame")->findChildren<QLabel*>(QString{}, Qt::FindDirectChildrenOnly);
    const auto found =
        std::ranges::find_if(labels, [](auto* label) { return label->objectName().isEmpty(); });
    return found == labels.end() ? nullptr : *found;
}

void MainWindowTest::watch_for_dialog(std::function<std::function<void()>(QWidget& modal)> recognise) {
    auto* const timer = new QTimer{window_.get()};
    QObject::connect(timer, &QTimer::timeout, window_.get(), [timer, recognise = std::move(recognise)] {
        QWidget* const modal = QApplication::activeModalWidget();
        if (modal == nullptr) {
            return;
        }
        if (const std::function<void()> action = recognise(*modal)) {
            timer->stop();
            timer->deleteLater();
            const QPointer<QWidget> dialog{modal};
            action();
            if (dialog != nullptr && dialog->isVisible()) {
                ADD_FAILURE() << "the dialog was left open";
                dialog->close();
            }
        }
    });
    timer->start(5);
}

QList<QDialog*> MainWindowTest::remaining_dialogs() {
    QList<QDialog*> dialogs = window_->findChildren<QDialog*>();
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QDialog*>(widget);
        if (dialog != nullptr && !dialogs.contains(dialog)) {
            dialogs.append(dialog);
        }
    }
    return dialogs;
}

std::vector<RecordedCall> MainWindowTest::calls() const {
    std::vector<RecordedCall> calls = engine().calls();
    std::erase_if(calls, [](const RecordedCall& call) { return call.name == "Velmora_get_info"; });
    return calls;
}

std::vector<std::string> MainWindowTest::call_names() const {
    std::vector<std::string> names;
    for (const RecordedCall& call : calls()) {
        names.push_back(call.name);
    }
    return names;
}

std::optional<RecordedCall> MainWindowTest::last_call(const std::string& name) const {
    std::optional<RecordedCall> last;
    for (RecordedCall& call : engine().calls()) {
        if (call.name == name) {
            last = call;
        }
    }
    return last;
}

void MainWindowTest::open_session() {
    trigger("actionStartStream");
    ASSERT_NE(m_VidDisp, 0U);
    engine().forget_calls();
}

void MainWindowTest::remove_engine() {
    m_velmora = nullptr;
    m_velmora_ext = nullptr;
}

void MainWindowTest::write_file(const QString& name, const QByteArray& content) {
    QFile file{name};
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
}

QJsonObject MainWindowTest::saved_configuration() {
    QFile file{configuration_name};
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject{};
}

bool MainWindowTest::configuration_exists() {
    return QFile::exists(configuration_name);
}

void MainWindowTest::save_section(const QString& section, const QJsonObject& values) {
    QJsonObject document = saved_configuration();
    document.insert(section, values);
    write_file(configuration_name, QJsonDocument{document}.toJson());
}
