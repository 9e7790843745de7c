#include "player_state.h"

velmora_handle_t m_VidDisp = 0;
velmora_info_t m_info{};
int active_app = 0;
int option_size = 2;
int windowid = 0;

int isStream = 0;
int isRecord = 0;
int isPlayback = 0;
int isStreamPlayback = 0;
int bit_action = 0;
int chang_state = 0;
int prev_act = 0;

std::atomic<int> open_file_state = SELECT_FILE;
int pback_dir = 0;
int pback_spd = 0;
int x_animate = 1;
int wait_x = 1;
int playback_flag = 0;
int play_file_handle = 0;

int animatStutuse = 1;
int stream_animate = 0;
QString dir_path;
int sync_delay = 0;
int sync_mode = 0;
int m_split_handle = 0;
int port = 0;
int rec_handle = 0;
char msg[500] = {};

int width_screen = 720;
int height_screen = 576;
int isOut = 1;
int res_flag = 0;
int video_size_flag = 0;
int get_video_stop = 0;
int vertical_display = 0;
int horizontal_display = 0;
int g_disp_flag = 0;
int prev_width = 0;
int prev_height = 0;
int inc_width = 0;
int inc_height = 0;

int av_volume = 0;

std::uint32_t board_addr = 0;
int rx_socket = 0;
int tx_soxket = 0;

Config* m_mpCfg = nullptr;

QTimer get_action_info_timer;
QTimer playAnimateQtimer;
QTimer StreamAnimateQtimer;
QTimer getVideoSize;
QTimer checkResize;
