// Live streams as a person watches them: our own engine, a sender on the loopback, each way of travelling.
#include "dialog_driver.h"
#include "heard_sound.h"
#include "live_on_screen.h"

#include "player_state.h"
#include "support/rtsp_server_process.h"

#include <QLabel>
#include <QSlider>

#include <cmath>
#include <map>
#include <memory>
#include <ostream>

namespace {

/// A sender, and what is chosen to watch it.
struct Way {
    PROTOCOL protocol;
    bool to_group;

    bool is_rtsp() const { return protocol == Protocol_RTSPUDP || protocol == Protocol_RTSPTCP; }
    std::string name() const {
        switch (protocol) {
        case Protocol_RTPUDP:
            return "Rtp";
        case Protocol_RTSPUDP:
            return "RtspOverUdp";
        case Protocol_RTSPTCP:
            return "RtspOverTcp";
        default:
            return to_group ? "UdpMulticast" : "UdpUnicast";
        }
    }
};

void PrintTo(const Way& way, std::ostream* out) {
    *out << way.name();
}

class LiveStream : public LiveOnScreen, public testing::WithParamInterface<Way> {
protected:
    static constexpr std::uint32_t group = 0xEF010203; // 239.1.2.3

    LiveStream() {
        if (GetParam().is_rtsp()) {
            server_ = std::make_unique<RtspServerProcess>(
                rtsp_pipeline(make_stream(live_recipe()), RtspPayload::elementary, "h264", "mp2"),
                GetParam().protocol == Protocol_RTSPTCP ? "tcp" : "udp");
            return;
        }
        SendRecipe recipe = to_port(port_);
        recipe.rtp = GetParam().protocol == Protocol_RTPUDP;
        if (GetParam().to_group) {
            recipe.target.address = group;
        }
        sender_ = std::make_unique<StreamSender>(live_stream(), recipe);
    }

    void choose(QDialog& dialog) const {
        if (GetParam().is_rtsp()) {
            click_on(dialog, "rtspRD");
            click_on(dialog, GetParam().protocol == Protocol_RTSPTCP ? "rtsp_tcpRD" : "rtsp_udpRD");
            type_into(dialog, "rtsp_urlLE", QString::fromStdString(server_->url()));
            return;
        }
        choose_unicast(dialog, port_);
        if (GetParam().protocol == Protocol_RTPUDP) {
            click_on(dialog, "rtpRD");
        }
        if (GetParam().to_group) {
            click_on(dialog, "multicastRD");
            type_into(dialog, "ipLE", QStringLiteral("239.1.2.3"));
        }
    }

private:
    std::uint16_t port_{free_udp_port()};
    std::unique_ptr<StreamSender> sender_;
    std::unique_ptr<RtspServerProcess> server_;
};

using Live = LiveStream;

TEST_P(Live, TheNetworkStreamDialogBringsPicturesToTheScreenAndSoundToTheEar) {
    part<QSlider>("volume_slider")->setValue(100);
    watch([this](QDialog& dialog) { choose(dialog); });
    ASSERT_TRUE(wait_for_live_picture()) << m_info.get_strm_info.imp_bitrate << " kbit/s arrive";
    const auto first = number_on_screen();
    EXPECT_TRUE(wait_until([&] { return number_on_screen() && number_on_screen() > first; })) << "it moves";
    EXPECT_TRUE(wait_until([] {
        return heard::peak(0.5) > 0.05F && std::abs(heard::frequency(0.5) - 1000) < 15;
    })) << heard::peak(0.5)
        << " at " << heard::frequency(0.5) << " Hz";
    EXPECT_TRUE(wait_until([] { return m_info.action_bit == 1 << STREAMING_BIT; }));
}

using LiveFigures = LiveStream;

TEST_P(LiveFigures, StatisticsTellWhatTheSenderSends) {
    watch([this](QDialog& dialog) { choose(dialog); });
    ASSERT_TRUE(wait_for_live_picture());
    in_dialog("actionStatistic", [&](QDialog& dialog) {
        const auto value = [&](const char* label) { return ::part<QLabel>(dialog, label).text(); };
        const auto number = [&](const char* label) { return value(label).toInt(); };
        ASSERT_TRUE(wait_until([&] { return number("disFrmLbl") > 60; }));
        EXPECT_EQ(number("widthLbl"), 640);
        EXPECT_EQ(number("heightLbl"), 360);
        EXPECT_TRUE(wait_until([&] { return number("fpsLbl") == 25; })) << number("fpsLbl");
        EXPECT_EQ(number("decErrorLbl"), 0);
        EXPECT_GE(number("decFrmLbl"), number("disFrmLbl"));
        EXPECT_EQ(value("AudioCodecLeb").toStdString(), "MP2");
        EXPECT_EQ(number("AudioChannelsLeb"), 2);
        EXPECT_EQ(number("AudioRateLeb"), 48000);
        EXPECT_TRUE(wait_until([&] { return std::abs(number("AudioPaketsLeb") - 128) <= 8; }))
            << number("AudioPaketsLeb");
        const std::map<int, std::string> names{{Protocol_UDPTS, "MPEG2TS"},
                                               {Protocol_RTPUDP, "RTP"},
                                               {Protocol_RTSPUDP, "RTSP/UDP"},
                                               {Protocol_RTSPTCP, "RTSP/TCP"}};
        EXPECT_EQ(value("prot_info_lbl").toStdString(), names.at(GetParam().protocol));
        // RTSP does without the stuffing that makes the stream's rate constant.
        const int least = GetParam().is_rtsp() ? kilobits_per_second / 2 : kilobits_per_second * 97 / 100;
        const int most = kilobits_per_second * 103 / 100;
        EXPECT_TRUE(wait_until([&] { return number("bitratLbl") >= least && number("bitratLbl") <= most; }))
            << number("bitratLbl");
    });
}

constexpr auto name_of = [](const auto& way) { return way.param.name(); };

INSTANTIATE_TEST_SUITE_P(Ways, Live,
                         testing::Values(Way{Protocol_UDPTS, false}, Way{Protocol_UDPTS, true},
                                         Way{Protocol_RTPUDP, false}, Way{Protocol_RTSPUDP, false},
                                         Way{Protocol_RTSPTCP, false}),
                         name_of);
INSTANTIATE_TEST_SUITE_P(Ways, LiveFigures,
                         testing::Values(Way{Protocol_RTPUDP, false}, Way{Protocol_RTSPTCP, false}), name_of);

} // namespace
