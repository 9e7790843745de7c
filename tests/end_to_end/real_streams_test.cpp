// Streams that nobody here made, when they lie beside the checkout.
#include "player_on_screen.h"

#include "player_state.h"

#include <QLabel>

#include <fstream>

namespace {

struct RealStream {
    const char* file;
    int width;
    int height;
    int seconds;
};

void PrintTo(const RealStream& stream, std::ostream* out) {
    *out << stream.file;
}

class RealStreams : public PlayerOnScreen, public testing::WithParamInterface<RealStream> {};

TEST_P(RealStreams, Play) {
    const std::filesystem::path file = std::filesystem::path{REAL_STREAMS} / GetParam().file;
    if (!std::filesystem::exists(file)) {
        GTEST_SKIP() << file << " is not there";
    }
    play(file);
    ASSERT_TRUE(wait_until([] { return m_info.get_strm_info.inp_disp_frames > 10; }));
    EXPECT_EQ(QSize(m_info.inp_width, m_info.inp_height), QSize(GetParam().width, GetParam().height));
    EXPECT_TRUE(wait_until([] { return m_info.player_info.total_second == GetParam().seconds; }))
        << m_info.player_info.total_second;
    EXPECT_EQ(m_info.get_strm_info.inp_dec_error, 0);
    EXPECT_EQ(
        part("playerFrame")->size(),
        QSize(GetParam().width, GetParam().height).scaled(part("playerFrame")->size(), Qt::KeepAspectRatio));
}

INSTANTIATE_TEST_SUITE_P(All, RealStreams,
                         testing::Values(RealStream{"klv-h264-640x480.ts", 640, 480, 9},
                                         RealStream{"h264-aac-scte35-80s.ts", 640, 360, 80},
                                         RealStream{"hevc-aac-2s.ts", 640, 360, 2},
                                         RealStream{"mpeg2-1080p-mp2-2s5.ts", 1920, 1080, 2},
                                         RealStream{"h264-aac-hls-10s-pcrgap.ts", 400, 170, 10},
                                         RealStream{"h264-1080p-mp2-10s-sparse-gop.ts", 1920, 1080, 9}));

} // namespace
