// The state of the player that every part of the main window shares, and the timers that drive it.
//
// There is one player in a process, so these are plain globals without locks. Unless a comment says otherwise
// a variable is written and read by the GUI thread alone.
#pragma once

#include "velmoraapi.h"

#include <QString>
#include <QTimer>

#include <atomic>
#include <cstdint>

class Config;

/// Values of open_file_state.
enum OpenFileState : int { OPEN_FAILED = -1, SELECT_FILE = 0, OPEN_FILE = 1, FINISH_OPEN = 2 };

// --- engine session ---

/// Engine session; 0 = none. Read by the open-file task as well.
extern velmora_handle_t m_VidDisp;
/// What the last poll read; all zero without a session.
extern velmora_info_t m_info;
/// Who owns the display (APP_SRC): 0 = live view, 1 = file playback. Written by the poll, and by the switch
/// of the display while there is no session.
extern int active_app;
/// The engine is opened with the flags `1 << option_size`: 2 = size from window, 0 = size from video.
extern int option_size;
/// Native id of the video area, which the engine is not given.
extern int windowid;

// --- activities, written by the poll ---

/// 1 while live view runs.
extern int isStream;
/// 1 while live view runs and is recorded.
extern int isRecord;
/// 1 while a file plays.
extern int isPlayback;
/// 1 while a file plays and is streamed out.
extern int isStreamPlayback;
/// Activity that stopping live view gives the display back from; never set.
extern int bit_action;
/// Activity bookkeeping; never set.
extern int chang_state;
/// Activity bookkeeping; never set.
extern int prev_act;

// --- file playback ---

/// How far opening a file has come (OpenFileState). Written by the GUI thread and by the open-file task, read
/// by the 200 ms timer.
extern std::atomic<int> open_file_state;
/// Direction last chosen (PLAYER_DIR_*): playback resumes with it.
extern int pback_dir;
/// Speed last chosen (PLAYER_SPD_*): playback resumes with it.
extern int pback_spd;
/// Phase of the waiting dots, 1 to 7.
extern int x_animate;
/// Position of the waiting dots; never moved.
extern int wait_x;
/// File playback bookkeeping; never set.
extern int playback_flag;
/// File playback bookkeeping; never set.
extern int play_file_handle;

// --- streaming and recording ---

/// Phase of the record button: 1 = the next picture is the lit one.
extern int animatStutuse;
/// Phase of the stream button, 0 to 3.
extern int stream_animate;
/// Directory last chosen for recordings.
extern QString dir_path;
/// Live view bookkeeping; never set.
extern int sync_delay;
/// Live view bookkeeping; never set.
extern int sync_mode;
/// Live view bookkeeping; never set.
extern int m_split_handle;
/// Live view bookkeeping; never set.
extern int port;
/// Recording bookkeeping; never set.
extern int rec_handle;
/// Scratch text; never set.
extern char msg[500];

// --- picture and geometry ---

/// Size of the picture as the engine reports it, pixels; 0 x 0 = not known.
extern int width_screen;
extern int height_screen;
/// 1 = the bottom bar is shown, 0 = the picture has the whole height.
extern int isOut;
/// 1 = the layout stands still, while the window is being maximised.
extern int res_flag;
/// 1 = the engine reported a usable picture size.
extern int video_size_flag;
/// 1 = the one automatic maximising is done.
extern int get_video_stop;
/// Available WIDTH of the primary screen, pixels; the names are crossed, and the maximise test counts on it.
extern int vertical_display;
/// Available HEIGHT of the primary screen, pixels.
extern int horizontal_display;
/// Display bookkeeping; never set.
extern int g_disp_flag;
/// Display bookkeeping; never set.
extern int prev_width;
extern int prev_height;
/// Display bookkeeping; never set.
extern int inc_width;
extern int inc_height;

// --- volume ---

/// Level read from the configuration at start-up, 0 to 100.
extern int av_volume;

// --- control link to the data board ---

/// Address of the board, IPv4 in host byte order; 0 = no board. Read by the open-file task as well.
extern std::uint32_t board_addr;
/// Socket that hears the board; 0 = none. Open until the process ends.
extern int rx_socket;
/// Socket that commands the board; 0 = none. Open until the process ends. Used by the open-file task as well.
extern int tx_soxket;

// --- configuration ---

/// The settings; owned by the main window, null without one.
extern Config* m_mpCfg;

// --- timers ---

/// Polls the engine, every 1000 ms while there is a window.
extern QTimer get_action_info_timer;
/// Blinks the record button, every 500 ms while live view is recorded.
extern QTimer playAnimateQtimer;
/// Moves the stream button, every 500 ms while a played file is streamed out.
extern QTimer StreamAnimateQtimer;
/// Asks for the picture's size; never started.
extern QTimer getVideoSize;
/// Follows the window's size, every 1 ms until it stands still.
extern QTimer checkResize;
