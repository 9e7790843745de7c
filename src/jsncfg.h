/*
 * The configuration: one JSON file with six sections, each an object that mirrors its part of the document.
 *
 * Everything here belongs to the main thread.
 */
#ifndef JSNCFG_H
#define JSNCFG_H

#include <QJsonDocument>
#include <QList>
#include <QString>

class Config;

/** networkCfg::ts, the transport kind of a live stream. */
enum { PRIVATE = 0, TRANSPORT = 1, RTP = 2, SPLIT = 3, RTSP = 4 };
/** networkCfg::mode. */
enum { MULTICAST = 0, UNICAST = 1 };
/** networkCfg::rtsp_mode. */
enum { RTSP_UDP = 0, RTSP_TCP = 1 };
/** volumeCfg::volume_on. */
enum { VOLUME_OFF = 0, VOLUME_ON = 1 };

/** A section of the configuration. */
class cfg_list {
public:
    /** Belongs to `config`, which outlives it. */
    explicit cfg_list(Config* config);
    cfg_list(const cfg_list&) = delete;
    cfg_list& operator=(const cfg_list&) = delete;

    /** Takes over what the document holds; members that it lacks keep their values. */
    virtual void read();
    /** Puts the section into the document and saves the file. */
    virtual void write() const;
    virtual ~cfg_list();

    /** Removes the section from the document and saves the file; the members keep their values. */
    void remove() const;

    QString key;             /* of the section in the document */
    Config* p_cfg = nullptr; /* the owning configuration */
};

/** Source of the live view. */
class networkCfg : public cfg_list {
public:
    explicit networkCfg(Config* config);
    void read() override;
    void write() const override;

    int ts = TRANSPORT;         /* transport kind */
    int port = 1234;            /* local receive port */
    int mode = UNICAST;         /* MULTICAST or UNICAST */
    int rtsp_serial_port = 554; /* RTSP server port */
    int rtsp_mode = RTSP_UDP;   /* RTSP_UDP or RTSP_TCP */
    int is_recording = 0;       /* 1: record from the start */
    QString ip;                 /* multicast group */
    QString rtsp_url;           /* RTSP server */
    QString rtsp_sdp;           /* RTSP session description name */
    int sync_delay = 0;         /* live buffer, milliseconds */
};

/** Recording. */
class recordCfg : public cfg_list {
public:
    explicit recordCfg(Config* config);
    void read() override;
    void write() const override;

    QString directory_path; /* where recordings go */
    int trick_mode = 1;     /* 1: write the trick-mode index */
};

/** Sound level. */
class volumeCfg : public cfg_list {
public:
    explicit volumeCfg(Config* config);
    void read() override;
    void write() const override;

    int volume_val = 30;       /* 0 to 100 */
    int volume_on = VOLUME_ON; /* VOLUME_OFF while muted */
};

/** File playback. */
class playbackCfg : public cfg_list {
public:
    explicit playbackCfg(Config* config);
    void read() override;
    void write() const override;

    QString path;          /* last file played */
    int is_trick_mode = 0; /* 1: use the trick-mode index */
    int direction = 0;     /* start direction, PLAYER_DIR_* */
    int speed = 1;         /* start speed, PLAYER_SPD_* */
    int is_stream = 0;     /* 1: the file is streamed out too */
    QString ip;            /* destination of the outgoing stream */
    int port = 1234;       /* destination port of the outgoing stream */
};

/** The data board. */
class board_ip : public cfg_list {
public:
    explicit board_ip(Config* config);
    void read() override;
    void write() const override;

    QString ip; /* "0": no board */
};

/** Where the data stream goes. */
class stream_data_save : public cfg_list {
public:
    explicit stream_data_save(Config* config);
    void read() override;
    void write() const override;

    QString ip;              /* destination */
    int is_save_by_file = 0; /* 1: written to a file */
    int is_send_by_eth = 0;  /* 1: sent over UDP */
    QString file_name;       /* file to write */
    int port = 1234;         /* destination port */
};

/** The configuration file and its sections. */
class Config {
public:
    /** Makes the sections with their defaults; the file is not touched. */
    explicit Config(QString file_name);
    ~Config();
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    /**
     * Reads the file into document and sections; text that is no JSON makes an empty document. Returns 0, or
     * -1 when the file cannot be opened.
     */
    int load_cfg();
    /** Reads every section from the document. */
    void read_cfg();
    /** Writes every section, saving the file each time. */
    void write_cfg() const;
    /**
     * Saves the document. The file holds the old or the new document at every moment, also when the process
     * is killed or the disk is full; only a file in a directory that lets nothing new be made is written in
     * place. Returns 0, or -1 when the file cannot be written.
     */
    int save_cfg();
    /** Deletes the file; document and sections stay. */
    void remove_file();

    QString file_name;
    QList<cfg_list*> p_cfg_list; /* the sections below, in their order; owned */
    networkCfg* p_networkCfg;
    recordCfg* p_recordCfg;
    volumeCfg* p_volume;
    playbackCfg* p_playbackCfg;
    board_ip* p_board_ip;
    stream_data_save* p_stream_data;
    QJsonDocument json_doc; /* as last loaded or written */
};

#endif
