#include "statistic.h"

#include "loadlib.h"
#include "player_state.h"
#include "ui_statistic.h"

#include <QCloseEvent>
#include <QHideEvent>

velmora_info_t p_info{};

namespace {

constexpr int poll_interval_ms = 500;

/// 1 = the next poll asks the engine to clear its counters.
int my_reset = 0;

/// @return empty for a protocol without a name
QString protocol_name(int protocol) {
    switch (protocol) {
    case Protocol_PRIVATE:
        return QStringLiteral("PRIVATE");
    case Protocol_UDPTS:
        return QStringLiteral("MPEG2TS");
    case Protocol_RTPUDP:
        return QStringLiteral("RTP");
    case Protocol_RTSPUDP:
        return QStringLiteral("RTSP/UDP");
    case Protocol_RTSPTCP:
        return QStringLiteral("RTSP/TCP");
    case Protocol_Split:
        return QStringLiteral("SPLIT");
    default:
        return {};
    }
}

constexpr int no_audio = 0;

/// @param codec numbered like FFmpeg's codec identifiers
/// @return empty for a codec without a name
QString audio_codec_name(int codec) {
    switch (codec) {
    case no_audio:
        return QStringLiteral("No Audio");
    case 0x15000:
        return QStringLiteral("MP2");
    case 0x15001:
        return QStringLiteral("MP3");
    case 0x1503c:
        return QStringLiteral("OPUS");
    case 0x1100b:
        return QStringLiteral("G726");
    default:
        return {};
    }
}

/// A name that is not known leaves the label as it was.
void show_known(QLabel& label, const QString& name) {
    if (!name.isEmpty()) {
        label.setText(name);
    }
}

} // namespace

statistic::statistic(QWidget* parent) : QDialog{parent}, ui{std::make_unique<Ui::statistic>()} {
    ui->setupUi(this);
    connect(&get_infoQTimre, &QTimer::timeout, this, &statistic::get_info);
    get_infoQTimre.start(poll_interval_ms);
}

statistic::~statistic() = default;

void statistic::get_info() {
    if (m_velmora != nullptr) {
        m_velmora->Velmora_get_info(m_VidDisp, &p_info, my_reset);
    }
    show_figures();
    show_protocol();
    show_sound();
    my_reset = 0;
}

void statistic::show_figures() {
    const get_stream_info& stream = p_info.get_strm_info;
    ui->widthLbl->setNum(p_info.inp_width);
    ui->heightLbl->setNum(p_info.inp_height);
    ui->fpsLbl->setNum(stream.inp_fps);
    ui->bitratLbl->setNum(stream.imp_bitrate);
    ui->decErrorLbl->setNum(stream.inp_dec_error);
    ui->decFrmLbl->setNum(stream.inp_dec_frame);
    ui->disFrmLbl->setNum(stream.inp_disp_frames);
}

void statistic::show_protocol() {
    show_known(*ui->prot_info_lbl, protocol_name(p_info.get_strm_info.protocol));
}

void statistic::show_sound() {
    const get_stream_info& stream = p_info.get_strm_info;
    const bool audible = stream.a_codec != no_audio;
    show_known(*ui->AudioCodecLeb, audio_codec_name(stream.a_codec));
    ui->AudioChannelsLeb->setNum(audible ? stream.a_channles : 0);
    ui->AudioRateLeb->setNum(audible ? stream.a_sample_rate : 0);
    // Captioned "Packets:", and meant to be the bit rate.
    ui->AudioPaketsLeb->setNum(audible ? stream.a_bitrate : 0);
}

void statistic::on_closeBtn_clicked() {
    get_infoQTimre.stop();
    close();
}

void statistic::on_resetStatisticBtn_clicked() {
    my_reset = 1;
}

void statistic::closeEvent(QCloseEvent* event) {
    get_infoQTimre.stop();
    QDialog::closeEvent(event);
}

void statistic::hideEvent(QHideEvent* event) {
    // Escape hides the dialog without a close event; a hidden event of the window system is a minimised one.
    if (!event->spontaneous()) {
        get_infoQTimre.stop();
    }
    QDialog::hideEvent(event);
}
