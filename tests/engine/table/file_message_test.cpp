// What the user is told of files: why one does not play, and that nothing is heard.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "stderr_capture.h"
#include "stream_surgery.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr unsigned video_pid = 0x100;
constexpr int lasts = 16;

StreamRecipe two_seconds(const std::string& audio) {
    StreamRecipe recipe;
    recipe.audio = audio;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 2;
    return recipe;
}

class FileMessage : public testing::Test {
protected:
    /// What is said when the file is started, which fails; the developer reads the same.
    std::string refusal(const std::filesystem::path& file) {
        const StderrCapture capture;
        EXPECT_NE(engine_.play(file), 0) << file;
        const velmora_message_t message = engine_.message();
        EXPECT_EQ(message.kind, MESSAGE_ERROR);
        EXPECT_GT(message.number, last_number_);
        last_number_ = message.number;
        const std::string told = "velmora: file: " + std::string{message.text};
        for (const std::string& line : capture.lines()) { // held back where it follows another too soon
            EXPECT_TRUE(line.starts_with(told) || !line.starts_with("velmora: file: Cannot")) << line;
        }
        return message.text;
    }
    static std::string because(const std::string& reason, const std::filesystem::path& file) {
        return "Cannot open the file: " + reason + " (" + file.string() + ")";
    }

    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
    std::uint32_t last_number_{0};
};

TEST_F(FileMessage, TellsWhyAFileDoesNotOpen) {
    const auto missing = scratch_.path() / "missing.ts";
    EXPECT_EQ(refusal(missing), because("it does not exist", missing));
    EXPECT_EQ(refusal(scratch_.path()), because("it is a folder", scratch_.path()));
    EXPECT_EQ(refusal("/dev/null"), because("it is not a regular file", "/dev/null"));
    const auto empty = scratch_.write("empty.ts", {});
    EXPECT_EQ(refusal(empty), because("it is empty", empty));
    const auto text = scratch_.write("text.ts", Bytes(10'000, 'x'));
    EXPECT_EQ(refusal(text), because("there is no transport stream in it", text));
    const Bytes stream = read_bytes(make_stream(two_seconds("none")));
    const auto tables =
        scratch_.write("tables.ts", without_packets(stream, video_pid, [](double) { return true; }));
    EXPECT_EQ(refusal(tables), because("nothing in it can be decoded", tables));
}

TEST_F(FileMessage, TellsThatAFileIsScrambled) {
    StreamRecipe recipe = two_seconds("mp2");
    recipe.duration = 10;
    const Bytes stream = scrambled(read_bytes(make_stream(recipe)), video_pid, [](double) { return true; });
    ASSERT_EQ(engine_.play(scratch_.write("scrambled.ts", stream)), 0) << "its sound is heard";
    EXPECT_TRUE(engine_.wait_for_info([this](const velmora_info_t&) {
        const velmora_message_t message = engine_.message();
        return message.kind == MESSAGE_ERROR + MESSAGE_LASTING &&
               std::string{message.text} == "The file is scrambled and cannot be shown";
    }));
    engine_.stop();
    EXPECT_EQ(engine_.message().kind, MESSAGE_NONE);
}

TEST_F(FileMessage, TellsOfAMissingPermission) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "the superuser may read everything";
    }
    const auto file = scratch_.write("secret.ts", Bytes(10'000, 'x'));
    std::filesystem::permissions(file, std::filesystem::perms::none);
    EXPECT_EQ(refusal(file), because("there is no permission to read it", file));
}

TEST_F(FileMessage, ShowsTheEndOfALongPathInWholeCharacters) {
    // "ü" in Latin-1, which takes two bytes where it is shown.
    const std::string name(90, '\xFC');
    const std::string text = refusal("/tmp/" + name + '/' + name);
    EXPECT_TRUE(text.starts_with("Cannot open the file: it does not exist (\u2026\u00FC")) << text;
    EXPECT_TRUE(text.ends_with("\u00FC)")) << text;
}

TEST_F(FileMessage, TellsThatAPathIsTooLong) {
    playback_setup_t setup{};
    setup.speed = PLAYER_SPD_NORMAL;
    std::memset(setup.file_name, 'n', sizeof setup.file_name);
    ASSERT_EQ(engine_.table().Velmora_set_playback_param(engine_.handle(), setup), 0);
    EXPECT_NE(engine_.table().Velmora_start(engine_.handle(), 1), 0);
    EXPECT_TRUE(
        std::string{engine_.message().text}.starts_with("Cannot open the file: its path is too long"));
}

/// An audio driver of which there is none, for one test.
class FileMessageWithoutSound : public FileMessage {
protected:
    FileMessageWithoutSound() { ::setenv("SDL_AUDIODRIVER", "there-is-no-such-driver", 1); }
    ~FileMessageWithoutSound() override { ::setenv("SDL_AUDIODRIVER", "dummy", 1); }
};

TEST_F(FileMessageWithoutSound, TellsThatThereIsNoDeviceAsLongAsThereIsSound) {
    ASSERT_EQ(engine_.play(make_stream(two_seconds("mp2"))), 0);
    ASSERT_TRUE(engine_.wait_for_info(
        [&](const velmora_info_t&) { return engine_.message().kind == MESSAGE_WARNING + lasts; }));
    const velmora_message_t message = engine_.message();
    EXPECT_TRUE(std::string{message.text}.starts_with("The sound device cannot be opened")) << message.text;
    engine_.stop();
    EXPECT_EQ(engine_.message().kind, MESSAGE_NONE);
}

TEST_F(FileMessageWithoutSound, SaysNothingOfItWhereNothingIsToBeHeard) {
    ASSERT_EQ(engine_.play(make_stream(two_seconds("none"))), 0);
    EXPECT_TRUE(engine_.wait_for_info(
        [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_EOF; }));
    EXPECT_EQ(engine_.message().number, 0U);
}

} // namespace
