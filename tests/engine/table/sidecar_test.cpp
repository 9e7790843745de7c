// The index beside a file saves the next scan, and does no harm however wrong it is.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "stderr_capture.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sys/resource.h>

namespace {

using namespace std::chrono_literals;

constexpr int seconds = 20;

/// CPU time of this process so far, all threads.
std::chrono::microseconds cpu_time() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds{usage.ru_utime.tv_sec + usage.ru_stime.tv_sec} +
           std::chrono::microseconds{usage.ru_utime.tv_usec + usage.ru_stime.tv_usec};
}

StreamRecipe twenty_seconds() {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = seconds;
    recipe.gop = 50;
    recipe.bframes = 3;
    return recipe;
}

/// The same, mostly null packets: large enough to get an index.
StreamRecipe large() {
    StreamRecipe recipe = twenty_seconds();
    recipe.gop = 100;
    recipe.mux_options = "-muxrate 30M";
    return recipe;
}

class Sidecar : public testing::Test {
protected:
    Sidecar() { std::filesystem::create_symlink(make_stream(large()), file_); }

    /// Plays in pause until the first picture stands.
    void play_with_index() {
        engine_.forget_pictures();
        ASSERT_EQ(engine_.play_with_index(file_, PLAYER_SPD_PAUSE), 0);
        ASSERT_TRUE(engine_.wait_for_pictures(1));
    }
    void play_without() {
        engine_.forget_pictures();
        ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
        ASSERT_TRUE(engine_.wait_for_pictures(1));
    }
    bool is_length_known(int expected = seconds) {
        return engine_.wait_for_info(
            [&](const velmora_info_t& info) { return info.player_info.total_second == expected; });
    }
    bool shows_exactly(int second) {
        engine_.forget_pictures();
        engine_.seek(second);
        return engine_.wait_for_pictures(1) && engine_.last_number() == static_cast<unsigned>(second) * 25U;
    }
    bool is_stored() {
        return engine_.wait_for_info([&](const velmora_info_t&) { return std::filesystem::exists(index_); });
    }
    /// The index that the engine makes of the file.
    Bytes made_index() {
        EXPECT_EQ(engine_.play_with_index(file_, PLAYER_SPD_PAUSE), 0);
        EXPECT_TRUE(is_stored());
        engine_.stop();
        return read_bytes(index_);
    }
    /// Whether the engine replaces the index by this one while the file plays.
    bool becomes(const Bytes& expected) {
        EXPECT_EQ(engine_.play_with_index(file_, PLAYER_SPD_PAUSE), 0);
        const bool has_become =
            engine_.wait_for_info([&](const velmora_info_t&) { return read_bytes(index_) == expected; });
        engine_.stop();
        return has_become;
    }
    void expect_exact_with_this_index() {
        play_with_index();
        EXPECT_TRUE(is_length_known());
        for (const int second : {13, 2, 19}) {
            EXPECT_TRUE(shows_exactly(second)) << second;
        }
        engine_.stop();
    }

    ScratchFolder scratch_;
    std::filesystem::path file_ = scratch_.path() / "film.ts";
    std::filesystem::path index_ = scratch_.path() / "film.ts.idx";
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(Sidecar, IsMadeOnceAndServesAgain) {
    const Bytes index = made_index();
    EXPECT_LE(index.size(), 64U + 10U * seconds / 4);
    const auto written = std::filesystem::last_write_time(index_);
    expect_exact_with_this_index();
    EXPECT_EQ(std::filesystem::last_write_time(index_), written) << "nothing new to write";
}

TEST_F(Sidecar, IsNeitherReadNorWrittenWithoutTrickMode) {
    play_without();
    ASSERT_TRUE(is_length_known());
    EXPECT_TRUE(shows_exactly(13));
    engine_.stop();
    EXPECT_FALSE(std::filesystem::exists(index_));
    scratch_.write("film.ts.idx", Bytes(100, 'x'));
    const StderrCapture errors;
    play_without();
    ASSERT_TRUE(is_length_known());
    EXPECT_TRUE(shows_exactly(13));
    engine_.stop();
    EXPECT_TRUE(errors.lines().empty());
    EXPECT_EQ(read_bytes(index_), Bytes(100, 'x'));
}

TEST_F(Sidecar, SparesTheScan) {
    // Two recordings with nothing but zeros between them: only a scan, or the index, finds the second.
    const Bytes recording = read_bytes(make_stream(twenty_seconds()));
    constexpr std::uintmax_t hole = 1'500'000'000;
    std::filesystem::remove(file_);
    scratch_.write_sparse("film.ts", recording, hole);
    {
        std::ofstream out{file_, std::ios::binary | std::ios::app};
        std::ranges::copy(recording, std::ostreambuf_iterator<char>{out});
    }
    const auto play_to_known_length = [&] {
        const auto before = cpu_time();
        EXPECT_EQ(engine_.play_with_index(file_, PLAYER_SPD_PAUSE), 0);
        EXPECT_TRUE(is_length_known(2 * seconds));
        return cpu_time() - before;
    };
    const auto scanned = play_to_known_length();
    ASSERT_TRUE(is_stored());
    engine_.stop();
    const auto loaded = play_to_known_length();
    EXPECT_LT(loaded * 3, scanned);
    engine_.forget_pictures();
    engine_.seek(seconds + 7);
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) { return engine_.last_number() == 175U; }));
}

TEST_F(Sidecar, DamagedAnywhereLeavesEverySeekExact) {
    const Bytes index = made_index();
    const StderrCapture errors;
    for (std::size_t at = 0; at < index.size(); at += 3) { // its format's own tests damage every bit
        Bytes damaged = index;
        damaged[at] = static_cast<std::uint8_t>(~damaged[at]);
        scratch_.write("film.ts.idx", damaged);
        play_with_index();
        EXPECT_TRUE(shows_exactly(1 + static_cast<int>(at) % (seconds - 1))) << at;
        engine_.stop();
    }
    EXPECT_FALSE(errors.lines().empty());
}

TEST_F(Sidecar, DamagedIsIgnoredWithALineAndMadeAnew) {
    const Bytes index = made_index();
    std::vector<Bytes> damaged;
    damaged.push_back({index.begin(), index.begin() + 40});
    damaged.emplace_back(5000, 'x');
    damaged.push_back(index);
    ++damaged.back()[7]; // of a version to come
    damaged.push_back(index);
    ++damaged.back()[index.size() / 2];
    for (const Bytes& bytes : damaged) {
        scratch_.write("film.ts.idx", bytes);
        expect_exact_with_this_index();
        EXPECT_TRUE(becomes(index));
    }
}

TEST_F(Sidecar, OfAnotherFileOrAnOlderStateIsIgnored) {
    const Bytes own = made_index();
    StreamRecipe other = large();
    other.start = 2;
    std::filesystem::remove(file_);
    std::filesystem::remove(index_);
    std::filesystem::create_symlink(make_stream(other), file_);
    const Bytes foreign = made_index();
    EXPECT_NE(foreign, own);
    std::filesystem::remove(file_);
    std::filesystem::create_symlink(make_stream(large()), file_);
    {
        const StderrCapture errors;
        expect_exact_with_this_index();
        EXPECT_EQ(errors.lines().size(), 1U);
    }
    EXPECT_TRUE(becomes(own));
    const auto too_early = std::filesystem::last_write_time(file_) - 1h;
    std::filesystem::last_write_time(index_, too_early);
    expect_exact_with_this_index();
    play_with_index();
    EXPECT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
        return std::filesystem::last_write_time(index_) > too_early;
    })) << "made anew";
}

TEST_F(Sidecar, ThatCannotBeReadOrWrittenIsDoneWithout) {
    std::filesystem::create_directory(index_);
    scratch_.write("film.ts.idx/occupied", {});
    const StderrCapture errors;
    expect_exact_with_this_index();
    EXPECT_FALSE(errors.lines().empty());
    EXPECT_TRUE(std::filesystem::exists(index_ / "occupied"));
}

} // namespace
