// Files that are no streams, and streams that are damaged: refused quickly or played as far as they go.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "stderr_capture.h"
#include "stream_damage.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

constexpr std::size_t packet_size = 188;
constexpr std::size_t garbage_size = 50'000'000;
constexpr std::uintmax_t huge_size = 5'000'000'000;

/// How much more processor time the engine's own loops take in this build.
#ifdef __SANITIZE_ADDRESS__
constexpr int instrumentation = 8;
#else
constexpr int instrumentation = 1;
#endif

/// CPU time of this process so far, all threads.
std::chrono::microseconds cpu_time() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds{usage.ru_utime.tv_sec + usage.ru_stime.tv_sec} +
           std::chrono::microseconds{usage.ru_utime.tv_usec + usage.ru_stime.tv_usec};
}

/// Null packets from end to end.
Bytes null_packets(std::size_t size) {
    Bytes bytes(size, 0xFF);
    for (std::size_t at = 0; at + packet_size <= size; at += packet_size) {
        const std::array<std::uint8_t, 4> header{0x47, 0x1F, 0xFF, 0x10};
        std::copy(header.begin(), header.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return bytes;
}

StreamRecipe small_stream(const std::string& codec, const std::string& audio) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.audio = audio;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 2;
    recipe.bitrate = "300k";
    return recipe;
}

constexpr unsigned last_picture_of_small_stream = 49;

bool is_ended(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_EOF;
}

bool is_at_start(const velmora_info_t& info) {
    return info.player_info.state == PLAYRE_STATUS_SOF;
}

class BadInput : public testing::Test {
protected:
    /// CPU time that a refused start takes, the best of three.
    std::chrono::microseconds cpu_of_refusal(const std::filesystem::path& file) {
        auto best = std::chrono::microseconds::max();
        for (int round = 0; round < 3; ++round) {
            const auto before = cpu_time();
            EXPECT_NE(engine_.play(file), 0) << file;
            best = std::min(best, cpu_time() - before);
        }
        return best;
    }

    void expect_plays_to_last_picture(const std::filesystem::path& file) {
        engine_.forget_pictures();
        ASSERT_EQ(engine_.play(file), 0) << file;
        EXPECT_TRUE(engine_.wait_for_info(is_ended)) << file;
        EXPECT_EQ(engine_.last_number(), last_picture_of_small_stream) << file;
        engine_.stop();
    }

    ScratchFolder scratch_;
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(BadInput, GarbageOf50MegabytesIsRefusedAtOnce) {
    const std::map<std::string, Bytes> kinds{
        {"random.ts", random_bytes(garbage_size, 1)},    {"zeros.ts", Bytes(garbage_size, 0)},
        {"text.ts", Bytes(garbage_size, 'a')},           {"sync-bytes.ts", Bytes(garbage_size, 0x47)},
        {"null-packets.ts", null_packets(garbage_size)},
    };
    for (const auto& [name, bytes] : kinds) {
        const auto file = scratch_.write(name, bytes);
        EXPECT_LE(cpu_of_refusal(file), 200ms * instrumentation) << name;
        std::filesystem::remove(file);
    }
}

TEST_F(BadInput, TheSizeOfGarbageDoesNotMatter) {
    constexpr auto noise = 10ms;
    for (const Bytes& head : {Bytes(1000, 0), null_packets(packet_size * 1000)}) {
        const auto small = cpu_of_refusal(scratch_.write_sparse("small.ts", head, garbage_size));
        const auto huge = cpu_of_refusal(scratch_.write_sparse("huge.ts", head, huge_size));
        EXPECT_LE(huge, small * 3 / 2 + noise);
    }
}

TEST_F(BadInput, FilesThatAreNoStreamsAreRefused) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "mp2")));
    EXPECT_NE(engine_.play(scratch_.write("empty.ts", {})), 0);
    EXPECT_NE(engine_.play(scratch_.write("byte.ts", {0x47})), 0);
    EXPECT_NE(engine_.play(scratch_.write("187.ts", {stream.begin(), stream.begin() + 187})), 0);
    EXPECT_NE(engine_.play(scratch_.write("packet.ts", {stream.begin(), stream.begin() + 188})), 0);
    const std::string text = "This is a text that someone called a stream.\n";
    EXPECT_NE(engine_.play(scratch_.write("text.ts", {text.begin(), text.end()})), 0);
    EXPECT_NE(engine_.play(scratch_.path() / "missing.ts"), 0);
    EXPECT_EQ(engine_.info().action_bit, 0);
}

TEST_F(BadInput, WhatIsNoRegularFileIsRefusedWithoutWaiting) {
    const auto pipe = scratch_.path() / "pipe.ts";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::filesystem::path& file :
         {scratch_.path(), pipe, std::filesystem::path{"/dev/null"}, std::filesystem::path{"/dev/zero"},
          std::filesystem::path{"/dev/tty"}}) {
        EXPECT_NE(engine_.play(file), 0) << file;
    }
}

TEST_F(BadInput, AnUnreadableFileIsRefused) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "the superuser may read everything";
    }
    const auto file = scratch_.write("secret.ts", read_bytes(make_stream(small_stream("h264", "mp2"))));
    std::filesystem::permissions(file, std::filesystem::perms::none);
    EXPECT_NE(engine_.play(file), 0);
}

TEST_F(BadInput, PathsPlayUpToTheLengthOfTheirField) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "none")));
    constexpr std::size_t field_size = sizeof playback_setup_t{}.file_name;
    for (const std::size_t length : {field_size - 1, field_size, field_size + 1}) {
        std::filesystem::remove_all(scratch_.path());
        std::filesystem::create_directory(scratch_.path());
        std::string name(length - scratch_.path().string().size() - 1, 'n');
        const auto file = scratch_.write(name, stream);
        ASSERT_EQ(file.string().size(), length);
        playback_setup_t setup{};
        setup.speed = PLAYER_SPD_NORMAL;
        std::memcpy(setup.file_name, file.c_str(), std::min(length, field_size));
        ASSERT_EQ(engine_.table().Velmora_set_playback_param(engine_.handle(), setup), 0);
        // A name of exactly the field's size leaves no room for its end, and still is a name.
        const int result = engine_.table().Velmora_start(engine_.handle(), 1);
        EXPECT_EQ(result == 0, length <= field_size) << length;
        const velmora_info_t info = engine_.info();
        EXPECT_LT(::strnlen(info.player_info.full_file_name, field_size), field_size);
        engine_.stop();
    }
}

TEST_F(BadInput, ANameInLatin1FindsTheFileInUtf8) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "none")));
    scratch_.write("Pr\xC3\xBC"
                   "fung.ts",
                   stream);
    EXPECT_EQ(engine_.play(scratch_.path() / "Pr\xFC"
                                             "fung.ts"),
              0);
}

TEST_F(BadInput, AFileCutAnywhereStartsAndStopsOrIsRefused) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "mp2")));
    std::vector<std::size_t> cuts;
    for (std::size_t cut = 0; cut < stream.size(); cut += stream.size() / 60) {
        cuts.push_back(cut);
    }
    for (std::size_t cut = stream.size() - packet_size; cut < stream.size(); cut += 11) {
        cuts.push_back(cut);
    }
    for (const std::size_t cut : cuts) {
        engine_.play(
            scratch_.write("cut.ts", {stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(cut)}));
        engine_.stop();
    }
    expect_plays_to_last_picture(scratch_.write("whole.ts", stream));
}

TEST_F(BadInput, AFileCutInTheMiddleEndsThere) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "mp2")));
    const auto half = stream.begin() + static_cast<std::ptrdiff_t>(stream.size() / 2 + 77);
    ASSERT_EQ(engine_.play(scratch_.write("half.ts", {stream.begin(), half})), 0);
    EXPECT_TRUE(engine_.wait_for_info(is_ended));
    ASSERT_TRUE(engine_.last_number());
    EXPECT_GT(*engine_.last_number(), 10U);
    EXPECT_LT(*engine_.last_number(), last_picture_of_small_stream);
}

/// `stream` with `before` bytes in front of each packet and `behind` bytes after it.
Bytes with_longer_packets(const Bytes& stream, std::size_t before, std::size_t behind) {
    Bytes longer;
    for (std::size_t at = 0; at + packet_size <= stream.size(); at += packet_size) {
        longer.insert(longer.end(), before, static_cast<std::uint8_t>(at / packet_size));
        const auto packet = stream.begin() + static_cast<std::ptrdiff_t>(at);
        longer.insert(longer.end(), packet, packet + packet_size);
        longer.insert(longer.end(), behind, static_cast<std::uint8_t>(at / packet_size + 1));
    }
    return longer;
}

TEST_F(BadInput, PacketsOf192And204BytesPlay) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "mp2")));
    expect_plays_to_last_picture(scratch_.write("192.ts", with_longer_packets(stream, 4, 0)));
    expect_plays_to_last_picture(scratch_.write("204.ts", with_longer_packets(stream, 0, 16)));
}

TEST_F(BadInput, JunkBeforeAndBetweenPacketsIsPassedOver) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "mp2")));
    for (const std::size_t length : {std::size_t{1}, std::size_t{100}, packet_size, std::size_t{20'000}}) {
        Bytes junk = random_bytes(length, 7);
        junk.resize(length, 0x47);
        Bytes in_front = junk;
        in_front.insert(in_front.end(), stream.begin(), stream.end());
        expect_plays_to_last_picture(scratch_.write("junk-in-front.ts", in_front));

        Bytes between = stream;
        const std::size_t middle = stream.size() / packet_size / 2 * packet_size;
        between.insert(between.begin() + static_cast<std::ptrdiff_t>(middle), junk.begin(), junk.end());
        expect_plays_to_last_picture(scratch_.write("junk-between.ts", between));
    }
}

TEST_F(BadInput, AStreamThatEndsInAHugeHolePlays) {
    const Bytes stream = read_bytes(make_stream(small_stream("h264", "mp2")));
    const auto file = scratch_.write_sparse("hole.ts", stream, 8'000'000'000);
    ASSERT_EQ(engine_.play(file), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(40));
    engine_.seek(1);
    const auto begin = std::chrono::steady_clock::now();
    engine_.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

/// Copies a file to where it outlives the test.
std::filesystem::path keep_for_inspection(const std::filesystem::path& file, int round) {
    auto kept = std::filesystem::temp_directory_path() /
                ("damaged-" + std::to_string(::getpid()) + "-" + std::to_string(round) + ".ts");
    std::filesystem::copy_file(file, kept, std::filesystem::copy_options::overwrite_existing);
    return kept;
}

class DamagedStreams : public testing::TestWithParam<unsigned> {};

TEST_P(DamagedStreams, PlayBothWaysSeekPauseAndStopWithoutHarm) {
    constexpr int rounds = 50;
    constexpr int rounds_between_full_plays = 10;
    constexpr int directions = PLAYER_DIR_PREVWARD + 1;
    constexpr int speeds = PLAYER_SPD_FAST + 1;
    const std::vector<StreamRecipe> recipes{small_stream("h264", "mp2"),  small_stream("hevc", "aac"),
                                            small_stream("mpeg2", "ac3"), small_stream("h264", "opus"),
                                            small_stream("none", "mp3"),  small_stream("mpeg2", "eac3")};
    std::mt19937 random{GetParam()}; // NOLINT(cert-msc51-cpp): the same damages in each run
    const ScratchFolder scratch;
    const EngineLibrary library;
    EngineUnderTest engine{library};
    for (int round = 0; round < rounds; ++round) {
        Bytes bytes = read_bytes(make_stream(recipes[random() % recipes.size()]));
        damage(bytes, random, 1);
        const auto file = scratch.write("damaged.ts", bytes);
        SCOPED_TRACE("round " + std::to_string(round));

        const auto beginning = static_cast<int>(GetParam() + static_cast<unsigned>(round));
        const int speed = beginning / directions % speeds;
        const auto result = engine.play_within(5s, file, speed, beginning % directions);
        ASSERT_TRUE(result) << "the start has not come back: speed " << speed;
        if (*result == 0) {
            if (random() % 4 != 0) {
                engine.seek(static_cast<int>(random() % 4));
            }
            if (random() % 2 == 0) {
                engine.pause();
                engine.resume();
            }
            for (auto changes = random() % 3; changes > 0; --changes) {
                engine.set_tempo(static_cast<int>(random() % directions),
                                 static_cast<int>(random() % speeds));
            }
            if (round % rounds_between_full_plays == 0) {
                engine.resume();
                EXPECT_TRUE(engine.wait_for_info(is_ended)) << keep_for_inspection(file, round);
            }
            if (round % rounds_between_full_plays == 0 && engine.info().inp_width > 0) {
                engine.set_tempo(PLAYER_DIR_PREVWARD, PLAYER_SPD_X3);
                EXPECT_TRUE(engine.wait_for_info(is_at_start)) << keep_for_inspection(file, round);
            }
        }
        const auto stopping = std::chrono::steady_clock::now();
        engine.stop();
        EXPECT_LT(std::chrono::steady_clock::now() - stopping, 2s);
        engine.forget_pictures();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, DamagedStreams, testing::Range(1U, 4U));
INSTANTIATE_TEST_SUITE_P(MoreSeeds, DamagedStreams, testing::Range(4U, 21U));

/// A line without what differs from incident to incident.
std::string kind_of(const std::string& line) {
    std::string kind;
    for (const char character : line) {
        if (std::isxdigit(static_cast<unsigned char>(character)) == 0) {
            kind.push_back(character);
        }
    }
    return kind;
}

TEST_F(BadInput, DamageIsToldInFewLines) {
    Bytes bytes = read_bytes(make_stream(small_stream("h264", "mp2")));
    std::mt19937 random{99}; // NOLINT(cert-msc51-cpp): the same damage in each run
    for (std::size_t at = bytes.size() / 10; at < bytes.size(); at += 150) {
        bytes[at] = static_cast<std::uint8_t>(random());
    }
    const auto file = scratch_.write("damaged.ts", bytes);
    const StderrCapture capture;
    const auto begin = std::chrono::steady_clock::now();
    if (engine_.play(file) == 0) {
        EXPECT_TRUE(engine_.wait_for_info(is_ended));
    }
    engine_.stop();
    const auto seconds =
        std::chrono::ceil<std::chrono::seconds>(std::chrono::steady_clock::now() - begin).count();

    const auto lines = capture.lines();
    EXPECT_FALSE(lines.empty());
    std::map<std::string, int> count;
    for (const std::string& line : lines) {
        EXPECT_TRUE(line.starts_with("velmora: ")) << line;
        EXPECT_LE(++count[kind_of(line)], seconds) << line;
    }
}

} // namespace
