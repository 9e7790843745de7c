// A file that is still being written plays, grows and can be reviewed.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "stderr_capture.h"
#include "stream_surgery.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <fstream>
#include <set>
#include <span>
#include <unistd.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr int seconds = 12;
constexpr unsigned last_picture = seconds * 25 - 1;

bool is_ended(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

class GrowingFile : public testing::Test {
protected:
    GrowingFile() {
        StreamRecipe recipe;
        recipe.width = 320;
        recipe.height = 240;
        recipe.duration = seconds;
        recipe.gop = 50;
        recipe.bframes = 3;
        recipe.audio = "mp2";
        bytes_ = read_bytes(make_stream(recipe));
    }

    /// Writes up to this share of the stream.
    void write_up_to(double share) {
        const auto end = static_cast<std::size_t>(share * static_cast<double>(bytes_.size()));
        std::ofstream out{file_, std::ios::binary | std::ios::app};
        out.write(reinterpret_cast<const char*>(bytes_.data() + written_),
                  static_cast<std::streamsize>(end - written_));
        written_ = end;
    }
    /// Writes on in small pieces, as a recorder does, at its own pace.
    std::jthread record_from(double share) {
        return std::jthread{[this, share] {
            constexpr int steps = 50;
            for (int step = 1; step <= steps; ++step) {
                write_up_to(share + (1.0 - share) * step / steps);
                std::this_thread::sleep_for(seconds * 1000ms * (1.0 - share) / steps);
            }
        }};
    }

    Bytes bytes_;
    std::size_t written_{0};
    ScratchFolder scratch_;
    std::filesystem::path file_ = scratch_.path() / "recording.ts";
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(GrowingFile, PlaysAlongItsRecordingWithoutADamagedPictureAndEndsAfterIt) {
    write_up_to(0.25);
    ASSERT_EQ(engine_.play(file_), 0);
    {
        const auto recorder = record_from(0.25);
        ASSERT_TRUE(engine_.wait_for_info([](const velmora_info_t& info) {
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

TEST_F(GrowingFile, AtItsEndWaitsAndGoesOn) {
    write_up_to(0.4);
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    engine_.seek(4);
    engine_.resume();
    ASSERT_TRUE(engine_.wait_for_info(is_ended)) << "nobody writes any more";
    // The last one may be cut, whatever number is read in it then.
    const auto played = engine_.pictures();
    const unsigned whole = played.rbegin()[1].number.value();
    engine_.forget_pictures();
    write_up_to(1.0);
    ASSERT_TRUE(engine_.wait_for_pictures(10));
    // It begins again where the end of the file may have cut pictures, and leaves none out.
    EXPECT_GE(engine_.pictures().front().number.value_or(0) + 8, whole);
    EXPECT_LE(engine_.pictures().front().number, whole + 1);
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    EXPECT_EQ(engine_.last_number(), last_picture);
}

TEST_F(GrowingFile, CanBeReviewedInWhatIsWritten) {
    write_up_to(0.7);
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    const auto recorder = record_from(0.7);
    for (const int second : {6, 1, 4}) {
        engine_.seek(second);
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
            return engine_.last_number() == static_cast<unsigned>(second) * 25U;
        }));
    }
    engine_.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_NORMAL);
    engine_.forget_pictures();
    ASSERT_TRUE(engine_.wait_for_pictures(15));
    const auto pictures = engine_.pictures();
    EXPECT_TRUE(std::ranges::is_sorted(pictures, std::ranges::greater{},
                                       [](const ReceivedPicture& picture) { return *picture.number; }));
}

TEST_F(GrowingFile, DeletedOrReplacedWhileItPlaysPlaysOn) {
    write_up_to(1.0);
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    const auto other = scratch_.write("other.ts", Bytes(10'000, 'x'));
    std::filesystem::rename(other, file_);
    engine_.seek(9);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return engine_.last_number() == 225U; }));
    std::filesystem::remove(file_);
    engine_.seek(3);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return engine_.last_number() == 75U; }));
}

TEST_F(GrowingFile, CutWhileItPlaysEndsWhereItWasCut) {
    write_up_to(1.0);
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.total_second == seconds; }));
    std::filesystem::resize_file(file_, written_ / 3);
    engine_.seek(10);
    engine_.resume();
    EXPECT_TRUE(engine_.wait_for_info(is_ended));
    engine_.pause();
    engine_.seek(2);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return engine_.last_number() == 50U; }))
        << "what is left can be reviewed";
}

/// Has a file open for writing until it is closed.
class OpenWriter {
public:
    explicit OpenWriter(const std::filesystem::path& file)
        : file_{::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)} {}
    ~OpenWriter() { close(); }
    OpenWriter(const OpenWriter&) = delete;
    OpenWriter& operator=(const OpenWriter&) = delete;

    void write(std::span<const std::uint8_t> bytes) const {
        EXPECT_EQ(::write(file_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void close() {
        if (file_ >= 0) {
            ::close(std::exchange(file_, -1));
        }
    }

private:
    int file_;
};

TEST_F(GrowingFile, WrittenInBurstsIsPlayedWholeAndEndsWhenItsWriterHasGone) {
    constexpr int bursts = 3;
    constexpr auto between = 1200ms;
    constexpr std::size_t inside_a_packet = 101;
    constexpr std::size_t pictures = 50; // a group
    const auto bytes = std::span{bytes_}.first(picture_starts(bytes_).at(pictures));
    const StderrCapture capture;
    OpenWriter writer{file_};
    std::size_t written = 0;
    bool is_started = false;
    for (int burst = 1; burst <= bursts; ++burst) {
        const std::size_t end =
            burst == bursts
                ? bytes.size()
                : bytes.size() * static_cast<std::size_t>(burst) / bursts / 188 * 188 + inside_a_packet;
        writer.write(bytes.subspan(written, end - written));
        written = end;
        if (!std::exchange(is_started, true)) {
            ASSERT_EQ(engine_.play(file_), 0);
        }
        const auto next = std::chrono::steady_clock::now() + between;
        EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t& info) {
            EXPECT_FALSE(is_ended(info)) << "its writer may go on";
            return std::chrono::steady_clock::now() >= next;
        }));
    }
    EXPECT_EQ(engine_.info().player_info.is_recording, 1);
    EXPECT_EQ(engine_.info().player_info.state, PLAYRE_STATUS_PLAYING);
    writer.close();
    ASSERT_TRUE(engine_.wait_for_info(is_ended));
    const velmora_info_t info = engine_.info();
    EXPECT_EQ(info.player_info.is_recording, 0);
    EXPECT_EQ(info.get_strm_info.inp_dec_error, 0);
    std::set<unsigned> shown;
    for (const ReceivedPicture& picture : engine_.pictures()) {
        shown.insert(picture.number.value_or(9999));
    }
    EXPECT_EQ(shown.size(), pictures);
    EXPECT_EQ(info.get_strm_info.inp_dec_frame, static_cast<int>(pictures)) << "none of them twice";
    for (const std::string& line : capture.lines()) {
        ADD_FAILURE() << line;
    }
}

TEST_F(GrowingFile, AStartEndsThoughAWriterHasNothingToPlayYet) {
    const OpenWriter writer{file_};
    writer.write(std::span{bytes_}.first(188 * 6));
    const auto result = engine_.play_within(10s, file_);
    EXPECT_TRUE(result && *result != 0);
}

} // namespace
