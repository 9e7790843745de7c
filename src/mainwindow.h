// The player's one window. One class, one source file for each of its concerns; the sections below stand in
// the order of the files. Everything runs on the GUI thread unless told otherwise.
#pragma once

#include "general/oslite.h"
#include "velmoraapi.h"

#include <QImage>
#include <QMainWindow>
#include <QPixmap>
#include <QSize>
#include <QTimer>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

class Config;
class MessageLine;
class QLabel;

namespace Ui {
class MainWindow;
}

/// Tells the data board to stop (0) or to resume (1) its own streaming, one datagram of 6 bytes.
/// Any thread; never waits.
/// @return 6 when it was sent, 0 without a board, else -1
int set_streaming_opertion(int on);

/// The largest size with the video's aspect that fits w x h; left untouched without a session or a known
/// size.
void get_ratio_exepted(int w, int h, int& out_w, int& out_h);

/// Bytes of the frame buffer: 2560 x 1600 pixels of 4 bytes.
inline constexpr std::size_t frame_buffer_size = 16'384'000;

class MainWindow : public QMainWindow {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

    // --- construction and wiring: mainwindow.cpp ---
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

signals:
    /// A picture for the video label; emitted on the engine's thread.
    void processedImage(QImage img);
    void em_wait_animate();
    void sizeChange();

public slots:
    void openFile();
    int open_file_trigger();
    void wait_finish();
    void open_file_animate();
    void setNetworkStream();
    void setSizeFromWindow();
    void setSizeFromVideo();
    void selectRecordDirectory();
    void showStatistic();
    void openDebug();
    void showHelp();
    void showAboat();
    void on_Record_clicked();
    void on_pause_clicked();
    void on_playButton_clicked();
    void get_action_info();
    void on_stop_clicked();
    void resizeEvent(QResizeEvent* event) override;
    void playAnimate();
    void streamAnimate();
    void get_video_size();
    void check_resize();
    void on_inBtn_clicked();
    void on_outBtn_clicked();
    void on_volume_off_btn_clicked();
    void on_volume_btn_clicked();
    void on_volume_slider_valueChanged(int value);
    void on_pinBtn_clicked();
    void on_unpinBtn_clicked();
    void updatePlayerUI(const QImage& img);
    void wait_animate();
    void resize_player_frame(int w, int h);
    void createSdxFile();
    void play_file();
    void set_playback_status(int state, int total_sec, int current_sec);
    void mySliderValueChanged(int newPos);
    void on_forward_playback_clicked();
    void on_fast_playback_clicked();
    void enable_sdx();
    void on_forward_playback_2_clicked();
    void on_tag_playback_clicked();
    void on_tagin_list_clicked();
    void on_tag_list_clicked();
    void animate_trigger();
    void on_stream_clicked();
    void on_actionOpen_File_triggered();
    void on_actionSwitch_Dispuch_triggered();
    void on_actionStop_All_triggered();
    void on_switch_dispatch_clicked();
    void on_actionData_triggered();

private:
    void create_library_banner();
    void connect_signals();
    void apply_branding();
    void set_first_look();

    // --- session and poll: mainwindow_session.cpp ---
public:
    /// Opens the engine session if there is none.
    /// @return 0 with a session, -1 without an engine, else Velmora_open's result
    int init_vid_app();
    /// Opens the session if needed and starts live view as configured.
    void init_video();
    /// Stops live view.
    void term_video_stream();
    void get_streaming(int on);

private:
    void show_activities();
    void show_playback_controls();
    void show_live_controls();
    void follow_picture_size();

    // --- control link to the data board: mainwindow_control_link.cpp ---
private:
    void open_control_link();

    // --- file playback: mainwindow_playback.cpp ---
public:
    void play_file(unsigned int mode);
    /// Stops file playback in the engine and lets the board stream again.
    void stop_playback();
    /// Sends a speed and a direction to the running playback.
    void update_playback(int dir, int speed);
    /// Writes "mm:ss" of a time; minutes go on behind 59.
    /// @param dst room for 16 characters
    /// @return 0
    int get_time_lbl(int sec, char* dst);

private:
    void send_playback(const playback_setup_t& setup);
    void start_open_task(int mask);
    void reap_open_task();
    void seek_to(int sec);

    // --- live stream, streaming out, the dispatch, the data stream: mainwindow_streaming.cpp ---
private:
    /// Runs the network stream dialog, which stores what it is told.
    /// @return 1 when it was accepted, else 0
    int ask_for_network_stream();

    // --- recording: mainwindow_recording.cpp ---
public:
    /// Records the running live view; asks for a directory first when there is none.
    void start_record();
    void stop_record();

    // --- picture: mainwindow_picture.cpp ---
public:
    /// Takes a 24-bit picture of the engine, on the engine's thread. The newest one is shown; while one is on
    /// its way to the GUI thread another one only replaces it.
    /// @param stride bytes per row
    void overlay2(int width, int height, int stride, void* pixels);
    /// Takes a 32-bit picture without copying it.
    void overlay(int width, int height, int stride, void* pixels);
    /// Screen position of the window's origin, and the size of the player frame.
    void get_position(int* x, int* y, int* w, int* h);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    bool allocate_frame_buffer();
    /// After return no picture of the engine reaches this window.
    void release_frame_buffer();
    QImage newest_picture() const;
    void show_picture(const QPixmap& picture);
    /// Takes the picture off the screen, and with it the one that is on its way. What comes later is shown.
    void remove_picture();
    void show_waiting_picture();
    /// Scales the last picture anew, for engines that do not deliver it at the label's size.
    void refit_picture();
    void send_display_size();

    // --- messages over the picture: mainwindow_message.cpp ---
private:
    /// Follows the messages of a session that was opened, if its engine has any.
    void start_messages();
    void stop_messages();
    void follow_messages();
    /// @param purpose what the path was for, as in "cannot be ..."
    void say_path_too_long(const char* purpose);

    // --- geometry: mainwindow_geometry.cpp ---
public:
    /// Lays the window out for its size and the picture's.
    void resizePlayer();

private:
    void maximise_once();

    // --- statistics, help, about: mainwindow_information.cpp, slots only ---

    // --- volume: mainwindow_volume.cpp ---
private:
    void start_volume();
    int get_volume();
    /// The one place where the level reaches the sound.
    void set_volume(int level);
    void show_volume(int level);
    void show_sound_on(bool on);

private:
    struct Freed {
        void operator()(void* memory) const { std::free(memory); }
    };

    QPixmap pxmp; ///< last picture shown, scaled
    std::unique_ptr<Ui::MainWindow> ui;
    QLabel* video_screen{nullptr};
    QTimer animate_TM{this};
    QTimer open_file_TM{this};
    OS_Task_t open_file_t{0};
    QSize resize_param;
    QLabel* dll_msg{nullptr};
    std::unique_ptr<void, Freed> local_bitmap; ///< frame buffer, written by the engine's thread

    std::unique_ptr<Config> config;
    QSize sent_display_size;   ///< device pixels; empty = not told in this session
    bool picture_waits{false}; ///< the newest picture is not in the label yet
    MessageLine* message_line{nullptr};
    QTimer message_TM{this};
    std::optional<std::uint32_t> engine_event; ///< number of the last one in this session that does not last
    std::optional<std::uint32_t> engine_state; ///< number of the last one in this session that lasts
    bool engine_speaks{false};                 ///< the line shows what the engine said
};

extern "C" {
/// Registered with the engine; calls overlay2 of the window `user` as long as that window lives.
void velmora_user_overlay_callback(void* user, int video_ch, unsigned int pixelformat, int width, int height,
                                   int stride, void* data, void* ext);
/// Calls get_position of the window `user`.
void velmora_get_position_callback(void* user, int* x, int* y, int* w, int* h);
}
