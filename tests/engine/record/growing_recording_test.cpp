// A file that is being recorded plays, grows and can be reviewed like any other.
#include "record/recorder.h"

#include "record/private_disk.h"
#include "record/stream_feeder.h"
#include "support/eventually.h"
#include "table/engine_under_test.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

constexpr unsigned pictures_per_second = 25;
constexpr int seconds = 10;
constexpr unsigned last_picture = seconds * pictures_per_second - 1;

bool is_ended(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

class GrowingRecording : public testing::Test {
protected:
    GrowingRecording() {
        RecorderSetup setup;
        setup.latin1_directory = scratch_.path().string();
        setup.latin1_name = "a.ts";
        setup.writes_index = true;
        recorder_ = std::make_unique<Recorder>(setup, real_time(), messages_,
                                               [] { ADD_FAILURE() << "ended by itself"; });
    }

    /// Records up to this share of the stream and waits until the file holds it.
    void record_up_to(double share) {
        const auto packets = static_cast<std::size_t>(share * static_cast<double>(stream_.size() / 188));
        feed(*recorder_, stream_, recorded_, packets * 188);
        recorded_ = packets * 188;
        ASSERT_TRUE(eventually([&] { return recorder_->facts().bytes == recorded_; }));
    }
    /// Records the rest as fast as it would arrive, then closes the file.
    std::jthread record_the_rest() {
        return std::jthread{[this] {
            constexpr std::size_t ticks_per_second = 25;
            const std::size_t step = stream_.size() / 188 / (seconds * ticks_per_second) * 188;
            while (recorded_ < stream_.size()) {
                const std::size_t end = std::min(recorded_ + step, stream_.size());
                feed(*recorder_, stream_, std::exchange(recorded_, end), end);
                std::this_thread::sleep_for(1000ms / ticks_per_second);
            }
            recorder_.reset();
        }};
    }

    ScratchFolder scratch_;
    std::filesystem::path file_ = scratch_.path() / "a.ts";
    Bytes stream_ = read_bytes(make_stream(ten_seconds()));
    std::size_t recorded_{0}; ///< bytes
    MessageBoard messages_{real_time()};
    std::unique_ptr<Recorder> recorder_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(GrowingRecording, PlaysToItsEndWithoutADamagedPicture) {
    record_up_to(0.4);
    ASSERT_EQ(engine_.play_with_index(file_), 0);
    {
        const auto recording = record_the_rest();
        EXPECT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
            return info.player_info.is_recording != 0 && info.player_info.total_second >= 6;
        }));
        EXPECT_EQ(engine_.info().player_info.state, PLAYRE_STATUS_PLAYING);
    }
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.player_info.is_recording, 0);
    EXPECT_EQ(info.player_info.total_second, seconds);
    EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
    std::set<unsigned> shown;
    for (const ReceivedPicture& picture : engine_.pictures()) {
        ASSERT_TRUE(picture.number);
        shown.insert(*picture.number);
    }
    EXPECT_EQ(*shown.rbegin(), last_picture);
    EXPECT_GE(shown.size(), (last_picture + 1) * 9 / 10) << "a busy machine may make some late";
}

TEST_F(GrowingRecording, IsFollowedCloselyAndEndsSoonAfterItsRecorder) {
    record_up_to(0.5);
    ASSERT_EQ(engine_.play_with_index(file_, PLAYER_SPD_PAUSE), 0);
    for (const double share : {0.6, 0.7, 0.8, 0.9, 1.0}) {
        record_up_to(share);
        const auto length = static_cast<int>(recorder_->facts().length.count());
        EXPECT_TRUE(engine_.wait_for_info(
            [&](const velmora_info_t& info) { return info.player_info.total_second >= length; }, 2s))
            << length;
    }
    engine_.seek(seconds - 1);
    engine_.resume();
    recorder_.reset();
    EXPECT_TRUE(engine_.wait_for_info(is_ended, 4s)) << "one second to play, one to know that no more comes";
    EXPECT_EQ(engine_.last_number(), last_picture);
}

TEST_F(GrowingRecording, CanBeReviewedAndMarkedInWhatIsWritten) {
    record_up_to(0.8);
    ASSERT_EQ(engine_.play_with_index(file_, PLAYER_SPD_PAUSE), 0);
    const auto recording = record_the_rest();
    for (const int second : {6, 1, 4}) {
        engine_.seek(second);
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
            return engine_.last_number() == static_cast<unsigned>(second) * pictures_per_second;
        }));
    }
    engine_.table().Velmora_set_event(engine_.handle(), playback_event_t{PLAYBACK_TAG_EVENT, 0, 0, 0});
    EXPECT_TRUE(eventually([&] { return engine_.table().Velmora_get_tag_by_i(engine_.handle(), 0) == 4; }));
    engine_.forget_pictures();
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_NORMAL);
    ASSERT_TRUE(engine_.wait_for_pictures(15));
    const auto pictures = engine_.pictures();
    EXPECT_TRUE(std::ranges::is_sorted(pictures, std::ranges::greater{},
                                       [](const ReceivedPicture& picture) { return *picture.number; }));
}

TEST(GrowingRecordingOnASmallDisk, PlaysWhatThereWasRoomForAndEnds) {
    const ScratchFolder scratch;
    const Bytes stream = read_bytes(make_stream(ten_seconds()));
    const auto room = std::to_string(stream.size() / 2 >> 10U) + "k";
    const bool mounted = with_private_disk(scratch.path(), "size=" + room, false, [&] {
        RecorderSetup setup;
        setup.latin1_directory = scratch.path().string();
        setup.latin1_name = "a.ts";
        std::atomic<bool> ended{false};
        MessageBoard messages{real_time()};
        Recorder recorder{setup, real_time(), messages, [&] { ended = true; }};
        const std::size_t first_part = stream.size() / 4 / 188 * 188;
        feed(recorder, stream, 0, first_part);
        ASSERT_TRUE(eventually([&] { return recorder.facts().bytes == first_part; }));

        const EngineLibrary library;
        EngineUnderTest engine{library};
        ASSERT_EQ(engine.play(scratch.path() / "a.ts"), 0);
        feed(recorder, stream, first_part, stream.size());
        ASSERT_TRUE(eventually([&] { return ended.load(); })) << "the disk is full";
        ASSERT_TRUE(engine.wait_for_info(is_ended));
        EXPECT_GE(engine.last_number(), last_picture / 3) << "what came after playing had begun";
        EXPECT_LT(engine.last_number(), last_picture * 2 / 3);
        EXPECT_EQ(engine.info().player_info.is_recording, 0);
    });
    if (!mounted) {
        GTEST_SKIP() << "no right to mount";
    }
}

} // namespace
} // namespace velmora::test
