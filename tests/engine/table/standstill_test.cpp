// The player's process stands still while it plays, as on a machine that gives its processors to others.
#include "engine_under_test.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <iostream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr int stream_pictures = 100;

StreamRecipe four_seconds() {
    StreamRecipe recipe;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 4;
    recipe.bframes = 3;
    return recipe;
}

/// Plays the file to its end in a process of its own.
class PlayingProcess {
public:
    explicit PlayingProcess(const std::filesystem::path& file) {
        EXPECT_EQ(::pipe(started_.data()), 0);
        process_ = ::fork();
        EXPECT_GE(process_, 0);
        if (process_ == 0) {
            ::_exit(play(file) ? EXIT_SUCCESS : EXIT_FAILURE);
        }
        ::close(started_[1]);
    }
    ~PlayingProcess() {
        ::close(started_[0]);
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
        }
    }
    PlayingProcess(const PlayingProcess&) = delete;
    PlayingProcess& operator=(const PlayingProcess&) = delete;

    /// @return whether it got so far that the test may begin
    bool wait_until_it_plays() const {
        char byte = 0;
        return ::read(started_[0], &byte, 1) == 1;
    }
    void stand_still_for(std::chrono::milliseconds time) const {
        ::kill(process_, SIGSTOP);
        std::this_thread::sleep_for(time); // what is tested, not a wait
        ::kill(process_, SIGCONT);
    }
    /// @return whether every picture was decoded and the last one shown
    bool has_played_all() {
        int status = -1;
        ::waitpid(std::exchange(process_, 0), &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    }

private:
    bool play(const std::filesystem::path& file) const {
        const EngineLibrary library;
        EngineUnderTest engine{library};
        const bool plays = engine.play(file) == 0 && engine.wait_for_pictures(stream_pictures / 4) &&
                           ::write(started_[1], "", 1) == 1;
        const bool ends = engine.wait_for_info(
            [](const velmora_info_t& info) { return info.player_info.state == PLAYRE_STATUS_EOF; });
        const int decoded = engine.info().get_strm_info.inp_dec_frame;
        std::cerr << "decoded " << decoded << " of " << stream_pictures << '\n';
        return plays && ends && decoded == stream_pictures && engine.last_number() == stream_pictures - 1U;
    }

    std::array<int, 2> started_{};
    pid_t process_{0};
};

TEST(Standstill, CostsNoPictureOfAStreamThatIsSoonDecoded) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer knows no threads of forked processes";
#endif
    PlayingProcess player{make_stream(four_seconds())};
    ASSERT_TRUE(player.wait_until_it_plays());
    player.stand_still_for(1200ms);
    EXPECT_TRUE(player.has_played_all());
}

} // namespace
