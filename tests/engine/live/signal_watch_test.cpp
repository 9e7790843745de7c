#include "live/signal_watch.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using namespace std::chrono_literals;
using Severity = MessageBoard::Severity;

class WatchedSignal : public testing::Test {
protected:
    /// What is said now; empty when nothing lasts.
    std::string said() {
        watch_.look(sight_, now_);
        const auto message = board_.newest();
        return message && message->lasts ? message->text : "";
    }

    void data_comes() { SignalWatch::note_data(sight_, now_); }
    void picture_comes() {
        data_comes();
        sight_.content = SignalWatch::Content::video;
        sight_.last_picture = now_;
    }

    SteadyTime now_{100s};
    std::string trouble_;
    MessageBoard board_{real_time()};
    SignalWatch::Sight sight_;
    SignalWatch watch_{board_, {"UDP port 5000", [this] { return trouble_; }}, now_};
};

TEST_F(WatchedSignal, WaitsForData) {
    now_ += 499ms;
    EXPECT_EQ(said(), "");
    now_ += 1ms;
    EXPECT_EQ(said(), "Waiting for data on UDP port 5000");
    picture_comes();
    EXPECT_EQ(said(), "");
}

TEST_F(WatchedSignal, ThatIsGoneIsReportedAfterASecondAndCounted) {
    picture_comes();
    now_ += 999ms;
    EXPECT_EQ(said(), "");
    now_ += 1ms;
    EXPECT_EQ(said(), "No signal for 1 s on UDP port 5000");
    const auto number = board_.newest()->number;
    now_ += 61s;
    EXPECT_EQ(said(), "No signal for 62 s on UDP port 5000");
    EXPECT_EQ(board_.newest()->number, number);
    picture_comes();
    EXPECT_EQ(said(), "");
    EXPECT_EQ(board_.newest()->severity, std::nullopt);
}

TEST_F(WatchedSignal, WithoutPicturesMarksThePictureAsOld) {
    picture_comes();
    now_ += 999ms;
    data_comes();
    EXPECT_EQ(said(), "");
    now_ += 1ms;
    EXPECT_EQ(said(), "The picture is 1 s old: what comes on UDP port 5000 cannot be decoded");
    data_comes();
    now_ += 1s;
    EXPECT_EQ(said(), "No signal for 1 s on UDP port 5000") << "nothing comes either";
}

TEST_F(WatchedSignal, ThatIsBackIsGivenTimeToBringAPicture) {
    picture_comes();
    now_ += 3s;
    EXPECT_EQ(said(), "No signal for 3 s on UDP port 5000");
    const auto number = board_.newest()->number;
    data_comes();
    EXPECT_EQ(said(), "Data comes again on UDP port 5000, the picture is 3 s old");
    EXPECT_EQ(board_.newest()->number, number);
    now_ += 500ms;
    data_comes();
    now_ += 500ms;
    EXPECT_EQ(said(), "The picture is 4 s old: what comes on UDP port 5000 cannot be decoded");
}

TEST_F(WatchedSignal, OfFewPicturesIsNotOldBeforeTheNextIsOverdue) {
    sight_.picture_interval = 2s;
    picture_comes();
    for (int i = 0; i < 8; ++i) {
        now_ += 499ms;
        data_comes();
        EXPECT_EQ(said(), "");
    }
    now_ += 8ms;
    EXPECT_EQ(said(), "The picture is 4 s old: what comes on UDP port 5000 cannot be decoded");
}

TEST_F(WatchedSignal, ThatBringsNoPictureAtAllIsReported) {
    data_comes();
    now_ += 999ms;
    data_comes();
    EXPECT_EQ(said(), "");
    now_ += 1ms;
    EXPECT_EQ(said(), "Data comes on UDP port 5000, but no programme yet");
    sight_.content = SignalWatch::Content::video;
    EXPECT_EQ(said(), "Data comes on UDP port 5000, but no picture yet");
    sight_.content = SignalWatch::Content::no_video;
    EXPECT_EQ(said(), "") << "sound alone is as it should be";
}

TEST_F(WatchedSignal, ThatIsScrambledIsReportedAtOnce) {
    picture_comes();
    sight_.is_scrambled = true;
    EXPECT_EQ(said(), "The stream on UDP port 5000 is scrambled and cannot be shown");
    sight_.is_scrambled = false;
    EXPECT_EQ(said(), "");
}

TEST_F(WatchedSignal, SaysWhatTheReceiverKnowsOfItsSilence) {
    trouble_ = "the server refuses the connection";
    EXPECT_EQ(said(), trouble_);
    EXPECT_EQ(board_.newest()->severity, Severity::error);
    picture_comes();
    EXPECT_EQ(said(), "");
}

TEST_F(WatchedSignal, IsNotMissedWhereItIsNotShown) {
    picture_comes();
    now_ += 10s;
    EXPECT_NE(said(), "");
    watch_.rest(now_);
    EXPECT_EQ(board_.newest()->severity, std::nullopt);
    data_comes();
    sight_.last_picture.reset();
    now_ += 999ms;
    data_comes();
    EXPECT_EQ(said(), "") << "time counts from when it is shown again";
}

} // namespace
} // namespace velmora
