// Construction of the window: its widgets, its wiring, its first look.
#include "mainwindow.h"

#include "branding.h"
#include "jsncfg.h"
#include "loadlib.h"
#include "message_line.h"
#include "plain_tool_tips.h"
#include "player_state.h"
#include "ui_mainwindow.h"

#include <QGuiApplication>
#include <QLabel>
#include <QScreen>

#include <pthread.h>

namespace {

const QString configuration_file = QStringLiteral("\nzandor_player.cfg");
constexpr int poll_interval_ms = 1000;

} // namespace

/// The pictures stand in a static library, where nothing else would link them in. Outside of any namespace,
/// as the toolkit wants it.
static void load_resources() {
    Q_INIT_RESOURCE(resources);
}

MainWindow::MainWindow(QWidget* parent) : QMainWindow{parent}, ui{std::make_unique<Ui::MainWindow>()} {
    load_resources();
    ui->setupUi(this);
    video_screen = new QLabel{ui->playerFrame};
    video_screen->setAlignment(Qt::AlignCenter);
    video_screen->lower();
    message_line = new MessageLine{ui->playerFrame};
    create_library_banner();

    config = std::make_unique<Config>(configuration_file);
    m_mpCfg = config.get();
    dll_msg->setVisible(m_velmora == nullptr);
    ui->symbole->setVisible(m_velmora != nullptr);
    config->load_cfg();
    config->read_cfg();

    ui->actionTrickMode->setChecked(config->p_recordCfg->trick_mode != 0);
    start_volume();
    apply_branding();
    connect_signals();
    new PlainToolTips{*this};
    get_action_info_timer.stop();
    set_first_look();
    get_action_info_timer.start(poll_interval_ms);
    open_control_link();
}

MainWindow::~MainWindow() {
    term_video_stream();
    release_frame_buffer();
    if (open_file_t != 0) {
        // It may wait in the engine; it uses nothing of this window.
        pthread_detach(open_file_t);
    }
    get_action_info_timer.stop();
    playAnimateQtimer.stop();
    StreamAnimateQtimer.stop();
    checkResize.stop();
    if (m_mpCfg == config.get()) {
        m_mpCfg = nullptr;
    }
}

void MainWindow::create_library_banner() {
    dll_msg = new QLabel{ui->app_name_lbl};
    dll_msg->resize(210, 35);
    dll_msg->move(250, 0);
    dll_msg->setStyleSheet(
        QStringLiteral("background-color:black;color:red;font-size:15px;font-weight:bold"));
    dll_msg->setWindowIcon(QIcon{site_logo_file});
    dll_msg->setText(QStringLiteral("      Library loading failed!"));
}

void MainWindow::apply_branding() {
    if (const auto name = site_name()) {
        setWindowTitle(name->trimmed());
        ui->app_name_lbl->setText(*name);
    }
    const auto logo = site_logo();
    if (logo && !logo->isNull()) {
        show_logo(*ui->symbole, *logo);
        setWindowIcon(QIcon{*logo});
    }
}

void MainWindow::connect_signals() {
    connect(ui->status_slider, &QSlider::valueChanged, this, &MainWindow::mySliderValueChanged);
    connect(ui->actionOpen_File, &QAction::triggered, this, [this] { play_file(); });
    connect(ui->actionNetwork_Stream, &QAction::triggered, this, &MainWindow::setNetworkStream);
    connect(ui->actionStartStream, &QAction::triggered, this, &MainWindow::on_playButton_clicked);
    connect(ui->actionStopStreaming, &QAction::triggered, this, &MainWindow::on_stop_clicked);
    connect(ui->actionStartRecord, &QAction::triggered, this, &MainWindow::on_Record_clicked);
    connect(ui->actionSize_From_Window, &QAction::triggered, this, &MainWindow::setSizeFromWindow);
    connect(ui->actionSize_From_Video, &QAction::triggered, this, &MainWindow::setSizeFromVideo);
    connect(ui->actionDirectory, &QAction::triggered, this, &MainWindow::selectRecordDirectory);
    connect(ui->actionDebug, &QAction::triggered, this, &MainWindow::openDebug);
    connect(ui->actionStatistic, &QAction::triggered, this, &MainWindow::showStatistic);
    connect(ui->actionHelp, &QAction::triggered, this, &MainWindow::showHelp);
    connect(ui->actionAbuat, &QAction::triggered, this, &MainWindow::showAboat);
    connect(ui->actionTrickMode, &QAction::triggered, this, &MainWindow::enable_sdx);
    connect(&playAnimateQtimer, &QTimer::timeout, this, &MainWindow::playAnimate);
    connect(&StreamAnimateQtimer, &QTimer::timeout, this, &MainWindow::streamAnimate);
    connect(&getVideoSize, &QTimer::timeout, this, &MainWindow::get_video_size);
    connect(&checkResize, &QTimer::timeout, this, &MainWindow::check_resize);
    connect(&get_action_info_timer, &QTimer::timeout, this, &MainWindow::get_action_info);
    connect(&open_file_TM, &QTimer::timeout, this, &MainWindow::wait_finish);
    connect(&animate_TM, &QTimer::timeout, this, &MainWindow::open_file_animate);
    connect(&message_TM, &QTimer::timeout, this, &MainWindow::follow_messages);
    connect(this, &MainWindow::processedImage, this, &MainWindow::updatePlayerUI);
}

void MainWindow::set_first_look() {
    ui->pause->hide();
    ui->actionStartStream->setEnabled(true);
    ui->symbole->raise();
    ui->app_name_lbl->raise();
    ui->tag_list->hide();
    ui->animate_frame->hide();
    ui->stream->hide();
    ui->unpinBtn->hide();
    ui->outBtn->hide();
    ui->pinBtn->setAttribute(Qt::WA_TranslucentBackground);

    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    horizontal_display = screen.height();
    vertical_display = screen.width();

    ui->sof_lbl->stackUnder(ui->status_slider); // it reaches over the slider's first seconds
    ui->sof_lbl->setEnabled(false);
    ui->eof_lbl->setEnabled(false);
    ui->status_slider->setEnabled(false);
    ui->Record->setEnabled(true);
    ui->pinBtn->show();
    ui->unpinBtn->hide();
    ui->play_speed->hide();
    ui->Port_lbl->show();
    open_file_t = 0;
}

void MainWindow::openDebug() {}
