/*
 * The binary contract between the player and its media engine, libvelmora.so.
 *
 * The engine exports one data symbol, `m_velmora`, a table of type velmora_t. Records are passed by value
 * unless a pointer is shown; layouts are x86-64, natural alignment, little-endian, and are asserted at the
 * end of this file. The header is plain C and C++, without any toolkit.
 *
 * An engine may export a second data symbol, `m_velmora_ext`, a table of type velmora_ext_t.
 */
#ifndef VELMORAAPI_H
#define VELMORAAPI_H

/* NOLINTBEGIN(modernize-use-using, modernize-redundant-void-arg): C includes this header too */

#ifdef __cplusplus
#include <cstddef>
#include <cstdint>
#define VELMORA_STATIC_ASSERT static_assert
extern "C" {
#else
#include <stddef.h>
#include <stdint.h>
#define VELMORA_STATIC_ASSERT _Static_assert
#endif

/** Engine session; 0 means that no session is open. */
typedef size_t velmora_handle_t;

/** Native window id; the player always passes 0, pictures come back through the overlay callback. */
typedef int32_t HWND;

/** Which of the engine's applications owns the display. */
typedef enum APP_SRC { STREAMING_APP = 0, PLAYBACK_APP = 1, OTHER_APP = 2 } APP_SRC;

/** Values of playback_event_t::event_type. */
enum { SEEK_EVENT = 0, PLAYBACK_TAG_EVENT = 1, RECORD_TAG_EVENT = 2, UPDATE_EVENT = 3 };

/** Values of player_sdx_status::state. */
enum {
    PLAYRE_STATUS_OFF = 0,
    PLAYRE_STATUS_PLAYING = 1,
    PLAYRE_STATUS_PAUSING = 2,
    PLAYRE_STATUS_EOF = 3,
    PLAYRE_STATUS_SOF = 4
};

typedef enum IS_MODE { MODE_OFF = 0, MODE_ON = 1 } IS_MODE;

/** Transport of a network stream. */
typedef enum PROTOCOL {
    Protocol_PRIVATE = 0,
    Protocol_UDPTS = 1,
    Protocol_RTPUDP = 2,
    Protocol_RTSPUDP = 3,
    Protocol_RTSPTCP = 4,
    Protocol_Split = 5,
    Protocol_HTTP = 6
} PROTOCOL;

/** Playback speeds. */
enum {
    PLAYER_SPD_PAUSE = 0,
    PLAYER_SPD_NORMAL = 1,
    PLAYER_SPD_X2 = 2,
    PLAYER_SPD_X3 = 3,
    PLAYER_SPD_X4 = 4,
    PLAYER_SPD_X5 = 5,
    PLAYER_SPD_FAST = 6
};

/** Playback directions. */
enum { PLAYER_DIR_FORWARD = 0, PLAYER_DIR_PREVWARD = 1 };

/** Bit numbers of velmora_info_t::action_bit and of the masks of Velmora_start and Velmora_stop. */
typedef enum ACTION_BIT {
    PLAYBACK_BIT = 0,           /* mask 1: file playback */
    PLAYBACK_STREAMING_BIT = 1, /* mask 2: a played file is streamed out */
    STREAMING_BIT = 2,          /* mask 4: live view */
    RECORD_BIT = 3              /* mask 8: recording */
} ACTION_BIT;

/** A command to the running playback. */
typedef struct playback_event_t {
    int32_t event_type; /* SEEK_EVENT, PLAYBACK_TAG_EVENT, RECORD_TAG_EVENT or UPDATE_EVENT */
    int32_t sec;        /* SEEK_EVENT: target, seconds from the start of the file */
    int32_t dir;        /* UPDATE_EVENT: new direction, PLAYER_DIR_* */
    int32_t speed;      /* UPDATE_EVENT: new speed, PLAYER_SPD_* */
} playback_event_t;

/** State of file playback. */
typedef struct player_sdx_status {
    int32_t state;            /* PLAYRE_STATUS_* */
    int32_t second;           /* current position, seconds */
    int32_t direction;        /* PLAYER_DIR_* */
    int32_t speed;            /* PLAYER_SPD_* */
    int32_t type;             /* kind of file, the engine's own code */
    int32_t total_second;     /* length of the file, seconds */
    int32_t is_recording;     /* non-zero while the file is still being written */
    int32_t eof;              /* non-zero at the end of the file */
    int32_t sof;              /* non-zero when reverse play reached the start of the file */
    char full_file_name[200]; /* NUL-terminated path of the file */
} player_sdx_status;

/** Parameters of a file playback. */
typedef struct playback_setup_t {
    char file_name[200];      /* NUL-terminated path, Latin-1 */
    int32_t is_cyclic;        /* non-zero: repeat at the end */
    int32_t is_trick_mode;    /* non-zero: use the trick-mode index */
    int32_t direction;        /* start direction, PLAYER_DIR_* */
    int32_t speed;            /* start speed, PLAYER_SPD_* */
    int32_t play_slow_on_end; /* non-zero: slow down near the end */
    int32_t s_transport;      /* transport selector of the outgoing stream */
    int32_t protocol;         /* PROTOCOL of the outgoing stream */
    int32_t ip;               /* destination of the outgoing stream, IPv4 in host byte order */
    int32_t port;             /* destination UDP port of the outgoing stream */
} playback_setup_t;

/** Source of a live view. Strings belong to the caller and are valid during the call only. */
typedef struct streaming_setup_t {
    int32_t port;            /* local receive port */
    uint32_t multicast_addr; /* group, IPv4 in host byte order; 0 = unicast */
    int32_t protocol;        /* PROTOCOL */
    char* rtsp_url;          /* RTSP address, or null */
    char* rtsp_sdp;          /* RTSP session description name, or null */
    int32_t rtsp_port;       /* RTSP server port */
    int32_t dst_port;        /* retransmission port; 0 = none */
    uint32_t dst_ip;         /* retransmission address, IPv4 in host byte order; 0 = none */
    int32_t sync_delay_ms;   /* live buffer, milliseconds */
    int32_t analize_mode;    /* analysis mode */
    int32_t src_app;         /* APP_SRC of the source */
} streaming_setup_t;

/** Parameters of a recording. */
typedef struct record_setup_t {
    char directory_path[200]; /* NUL-terminated directory, Latin-1 */
    char* file_name;          /* explicit file name, or null: the engine names the file */
    int32_t time_seconds;     /* length limit in seconds; 0 = none */
    int32_t is_cyclic;        /* non-zero: cyclic recording */
    int32_t cyclic_time_sec;  /* cycle length in seconds */
    int32_t is_trick_mode;    /* non-zero: write the trick-mode index */
} record_setup_t;

/** Where the data (metadata) stream goes. The string belongs to the caller. */
typedef struct data_setup_t {
    int32_t is_send_by_eth;  /* non-zero: forward over UDP */
    int32_t is_save_by_file; /* non-zero: write to a file */
    uint32_t ip;             /* destination, IPv4 in host byte order */
    int32_t port;            /* destination UDP port */
    char* file_name;         /* file to write, Latin-1 */
} data_setup_t;

/** Parameters of a session. */
typedef struct velmora_setup_t {
    int32_t flags;     /* 1 << size option */
    int32_t self_drow; /* non-zero: the engine draws into hwnd itself */
    HWND hwnd;         /* native window */
    int32_t width;     /* pixels */
    int32_t height;    /* pixels */
} velmora_setup_t;

/** The current recording. */
typedef struct record_info_t {
    char* file_name;  /* file being written; owned by the engine, valid until close */
    int32_t kb_size;  /* size written, KiB */
    int32_t sec_size; /* length written, seconds */
} record_info_t;

/** Statistics of the incoming stream. */
typedef struct get_stream_info {
    int32_t inp_fps;             /* pictures per second */
    int32_t imp_bitrate;         /* kbit/s over the last second */
    int32_t inp_dec_error;       /* decoder and continuity errors */
    int32_t inp_dec_frame;       /* decoded pictures */
    int32_t inp_disp_frames;     /* displayed pictures */
    int32_t protocol;            /* PROTOCOL */
    int32_t v_codec;             /* video codec number */
    int32_t a_codec;             /* audio codec number */
    int32_t a_sample_rate;       /* Hz */
    int32_t a_bitrate;           /* kbit/s */
    int32_t a_channles;          /* audio channels */
    int32_t a_bits_per_ch;       /* bits per audio sample */
    int32_t d_codec;             /* data codec number */
    int32_t d_bitrate;           /* kbit/s */
    int32_t d_packets;           /* data access units */
    int32_t transcode_tx_frames; /* pictures sent on by transcoding */
    uint32_t src_ip_addr;        /* sender, IPv4 in host byte order */
} get_stream_info;

/** The outgoing stream of a played file. */
typedef struct stream_info_t {
    int32_t protocol;    /* PROTOCOL */
    int32_t frame_count; /* pictures sent */
} stream_info_t;

/** Everything the player polls. */
typedef struct velmora_info_t {
    int32_t action_bit; /* running activities, 1 << ACTION_BIT */
    int32_t inp_width;  /* decoded picture, square pixels */
    int32_t inp_height; /* pixels */
    int32_t active_app; /* APP_SRC owning the display */
    get_stream_info get_strm_info;
    player_sdx_status player_info;
    record_info_t record_info;
    stream_info_t pb_stream_info;
} velmora_info_t;

/**
 * A decoded picture, on a thread of the engine: witdh x height pixels in 24-bit RGB (red first), rows top to
 * bottom, pitch bytes per row, at bitmap, valid during the call only.
 */
typedef void (*velmora_user_overlay_callback_t)(void* param, int video_ch, unsigned int pixelformat,
                                                int witdh, int height, int pitch, void* bitmap, void* ext);
typedef void (*velmora_user_record_callback_t)(void* user, int kind, void* buffer, int size);
typedef void (*velmora_user_index_callback_t)(void* user, int index);

/** The engine's functions, in slot order. An int result of 0 means success unless told otherwise. */
typedef struct velmora_t {
    /** Ends the session: no callback after return. */
    void (*Velmora_close)(velmora_handle_t handle);
    /** Opens a session and writes its handle. */
    int (*Velmora_open)(velmora_setup_t setup, velmora_handle_t* handle);
    /** Stops the activities of the mask: no callback of them after return. */
    void (*Velmora_stop)(velmora_handle_t handle, int mask);
    /** Starts the activities of the mask; file playback returns with its first picture ready. */
    int (*Velmora_start)(velmora_handle_t handle, int mask);
    int (*Velmora_set_playback_param)(velmora_handle_t handle, playback_setup_t setup);
    int (*Velmora_set_streaming_param)(velmora_handle_t handle, streaming_setup_t setup);
    int (*Velmora_set_record_param)(velmora_handle_t handle, record_setup_t setup);
    /** Gives the display to file playback (1) or to live view (0). */
    int (*Velmora_switch_dispatch)(velmora_handle_t handle, int on);
    int (*Velmora_set_data_param)(velmora_handle_t handle, data_setup_t setup);
    int (*Velmora_get_action)(void);
    void (*Velmora_register_user_overlay)(velmora_handle_t handle, velmora_user_overlay_callback_t callback,
                                          void* user);
    void (*Velmora_register_record_encode_frame)(velmora_handle_t handle,
                                                 velmora_user_record_callback_t callback, void* user,
                                                 velmora_user_index_callback_t index_callback);
    void (*Velmora_put_encode_frame)(velmora_handle_t handle, void* frame, int size);
    void (*Velmora_setup_port)(velmora_handle_t handle, int port);
    /** Fills info without waiting for media work; a non-zero reset clears the counters. */
    void (*Velmora_get_info)(velmora_handle_t handle, velmora_info_t* info, int reset);
    /** Writes the engine's version number (100 = 1.00). */
    void (*Velmora_get_dll_ver)(int* version);
    void (*Velmora_get_plbck_status)(velmora_handle_t handle, player_sdx_status* status);
    void (*Velmora_set_event)(velmora_handle_t handle, playback_event_t event);
    /** Position of a tag in seconds; negative beyond the last tag. */
    int (*Velmora_get_tag_by_i)(velmora_handle_t handle, int index);
} velmora_t;

/** `kind` of velmora_message_t; MESSAGE_LASTING is added while the state it tells of lasts. */
enum { MESSAGE_NONE = 0, MESSAGE_NOTICE = 1, MESSAGE_WARNING = 2, MESSAGE_ERROR = 3, MESSAGE_LASTING = 16 };

/** One sentence for the user. */
typedef struct velmora_message_t {
    uint32_t number; /**< rises with each message; a state that lasts keeps its own and may change its text */
    int32_t kind;    /**< MESSAGE_NONE when what was said last holds no longer */
    char text[248];  /**< UTF-8, terminated */
} velmora_message_t;

/** Optional second table; a caller reads only the members that `size` covers. */
typedef struct velmora_ext_t {
    /** Size of this table in bytes. */
    size_t size;
    /** Sets the sound level, 0 to 100 on a perceptual scale, for this and later sessions; never clicks. */
    int (*Velmora_set_volume)(int level);
    /**
     * Tells the size of the display area in device pixels. Pictures are then delivered at the largest size of
     * their own aspect that fits it; the picture shown is delivered again when the size changes.
     */
    int (*Velmora_set_display_size)(velmora_handle_t handle, int width, int height);
    /** Copies the newest message; non-zero when there has been none. Never waits. */
    int (*Velmora_get_message)(velmora_handle_t handle, velmora_message_t* message);
} velmora_ext_t;

#define VELMORA_AT(record, field, offset)                                                                    \
    VELMORA_STATIC_ASSERT(offsetof(record, field) == (offset), #record "." #field)
#define VELMORA_SIZE(record, bytes) VELMORA_STATIC_ASSERT(sizeof(record) == (bytes), #record)

VELMORA_SIZE(velmora_handle_t, 8);
VELMORA_SIZE(APP_SRC, 4);
VELMORA_SIZE(IS_MODE, 4);
VELMORA_SIZE(PROTOCOL, 4);
VELMORA_SIZE(ACTION_BIT, 4);

VELMORA_SIZE(playback_event_t, 16);
VELMORA_AT(playback_event_t, event_type, 0);
VELMORA_AT(playback_event_t, sec, 4);
VELMORA_AT(playback_event_t, dir, 8);
VELMORA_AT(playback_event_t, speed, 12);

VELMORA_SIZE(player_sdx_status, 236);
VELMORA_AT(player_sdx_status, state, 0);
VELMORA_AT(player_sdx_status, second, 4);
VELMORA_AT(player_sdx_status, direction, 8);
VELMORA_AT(player_sdx_status, speed, 12);
VELMORA_AT(player_sdx_status, type, 16);
VELMORA_AT(player_sdx_status, total_second, 20);
VELMORA_AT(player_sdx_status, is_recording, 24);
VELMORA_AT(player_sdx_status, eof, 28);
VELMORA_AT(player_sdx_status, sof, 32);
VELMORA_AT(player_sdx_status, full_file_name, 36);

VELMORA_SIZE(playback_setup_t, 236);
VELMORA_AT(playback_setup_t, file_name, 0);
VELMORA_AT(playback_setup_t, is_cyclic, 200);
VELMORA_AT(playback_setup_t, is_trick_mode, 204);
VELMORA_AT(playback_setup_t, direction, 208);
VELMORA_AT(playback_setup_t, speed, 212);
VELMORA_AT(playback_setup_t, play_slow_on_end, 216);
VELMORA_AT(playback_setup_t, s_transport, 220);
VELMORA_AT(playback_setup_t, protocol, 224);
VELMORA_AT(playback_setup_t, ip, 228);
VELMORA_AT(playback_setup_t, port, 232);

VELMORA_SIZE(streaming_setup_t, 56);
VELMORA_AT(streaming_setup_t, port, 0);
VELMORA_AT(streaming_setup_t, multicast_addr, 4);
VELMORA_AT(streaming_setup_t, protocol, 8);
VELMORA_AT(streaming_setup_t, rtsp_url, 16);
VELMORA_AT(streaming_setup_t, rtsp_sdp, 24);
VELMORA_AT(streaming_setup_t, rtsp_port, 32);
VELMORA_AT(streaming_setup_t, dst_port, 36);
VELMORA_AT(streaming_setup_t, dst_ip, 40);
VELMORA_AT(streaming_setup_t, sync_delay_ms, 44);
VELMORA_AT(streaming_setup_t, analize_mode, 48);
VELMORA_AT(streaming_setup_t, src_app, 52);

VELMORA_SIZE(record_setup_t, 224);
VELMORA_AT(record_setup_t, directory_path, 0);
VELMORA_AT(record_setup_t, file_name, 200);
VELMORA_AT(record_setup_t, time_seconds, 208);
VELMORA_AT(record_setup_t, is_cyclic, 212);
VELMORA_AT(record_setup_t, cyclic_time_sec, 216);
VELMORA_AT(record_setup_t, is_trick_mode, 220);

VELMORA_SIZE(data_setup_t, 24);
VELMORA_AT(data_setup_t, is_send_by_eth, 0);
VELMORA_AT(data_setup_t, is_save_by_file, 4);
VELMORA_AT(data_setup_t, ip, 8);
VELMORA_AT(data_setup_t, port, 12);
VELMORA_AT(data_setup_t, file_name, 16);

VELMORA_SIZE(velmora_setup_t, 20);
VELMORA_AT(velmora_setup_t, flags, 0);
VELMORA_AT(velmora_setup_t, self_drow, 4);
VELMORA_AT(velmora_setup_t, hwnd, 8);
VELMORA_AT(velmora_setup_t, width, 12);
VELMORA_AT(velmora_setup_t, height, 16);

VELMORA_SIZE(record_info_t, 16);
VELMORA_AT(record_info_t, file_name, 0);
VELMORA_AT(record_info_t, kb_size, 8);
VELMORA_AT(record_info_t, sec_size, 12);

VELMORA_SIZE(get_stream_info, 68);
VELMORA_AT(get_stream_info, inp_fps, 0);
VELMORA_AT(get_stream_info, imp_bitrate, 4);
VELMORA_AT(get_stream_info, inp_dec_error, 8);
VELMORA_AT(get_stream_info, inp_dec_frame, 12);
VELMORA_AT(get_stream_info, inp_disp_frames, 16);
VELMORA_AT(get_stream_info, protocol, 20);
VELMORA_AT(get_stream_info, v_codec, 24);
VELMORA_AT(get_stream_info, a_codec, 28);
VELMORA_AT(get_stream_info, a_sample_rate, 32);
VELMORA_AT(get_stream_info, a_bitrate, 36);
VELMORA_AT(get_stream_info, a_channles, 40);
VELMORA_AT(get_stream_info, a_bits_per_ch, 44);
VELMORA_AT(get_stream_info, d_codec, 48);
VELMORA_AT(get_stream_info, d_bitrate, 52);
VELMORA_AT(get_stream_info, d_packets, 56);
VELMORA_AT(get_stream_info, transcode_tx_frames, 60);
VELMORA_AT(get_stream_info, src_ip_addr, 64);

VELMORA_SIZE(stream_info_t, 8);
VELMORA_AT(stream_info_t, protocol, 0);
VELMORA_AT(stream_info_t, frame_count, 4);

VELMORA_SIZE(velmora_info_t, 344);
VELMORA_AT(velmora_info_t, action_bit, 0);
VELMORA_AT(velmora_info_t, inp_width, 4);
VELMORA_AT(velmora_info_t, inp_height, 8);
VELMORA_AT(velmora_info_t, active_app, 12);
VELMORA_AT(velmora_info_t, get_strm_info, 16);
VELMORA_AT(velmora_info_t, player_info, 84);
VELMORA_AT(velmora_info_t, record_info, 320);
VELMORA_AT(velmora_info_t, pb_stream_info, 336);

VELMORA_SIZE(velmora_t, 152);
VELMORA_AT(velmora_t, Velmora_close, 0);
VELMORA_AT(velmora_t, Velmora_open, 8);
VELMORA_AT(velmora_t, Velmora_stop, 16);
VELMORA_AT(velmora_t, Velmora_start, 24);
VELMORA_AT(velmora_t, Velmora_set_playback_param, 32);
VELMORA_AT(velmora_t, Velmora_set_streaming_param, 40);
VELMORA_AT(velmora_t, Velmora_set_record_param, 48);
VELMORA_AT(velmora_t, Velmora_switch_dispatch, 56);
VELMORA_AT(velmora_t, Velmora_set_data_param, 64);
VELMORA_AT(velmora_t, Velmora_get_action, 72);
VELMORA_AT(velmora_t, Velmora_register_user_overlay, 80);
VELMORA_AT(velmora_t, Velmora_register_record_encode_frame, 88);
VELMORA_AT(velmora_t, Velmora_put_encode_frame, 96);
VELMORA_AT(velmora_t, Velmora_setup_port, 104);
VELMORA_AT(velmora_t, Velmora_get_info, 112);
VELMORA_AT(velmora_t, Velmora_get_dll_ver, 120);
VELMORA_AT(velmora_t, Velmora_get_plbck_status, 128);
VELMORA_AT(velmora_t, Velmora_set_event, 136);
VELMORA_AT(velmora_t, Velmora_get_tag_by_i, 144);

VELMORA_SIZE(velmora_message_t, 256);
VELMORA_AT(velmora_message_t, number, 0);
VELMORA_AT(velmora_message_t, kind, 4);
VELMORA_AT(velmora_message_t, text, 8);

VELMORA_AT(velmora_ext_t, size, 0);
VELMORA_AT(velmora_ext_t, Velmora_set_volume, 8);
VELMORA_AT(velmora_ext_t, Velmora_set_display_size, 16);
VELMORA_AT(velmora_ext_t, Velmora_get_message, 24);

#undef VELMORA_AT
#undef VELMORA_SIZE
#undef VELMORA_STATIC_ASSERT

#ifdef __cplusplus
}
#endif

/* NOLINTEND(modernize-use-using, modernize-redundant-void-arg) */

#endif
