/*
 * Saving that is cut short, and saving by two processes at once.
 */
#include "jsncfg.h"

#include "src/config_file.h"

#include <csignal>
#include <random>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr int length = 200'000;

class JsnCfgCrash : public ConfigFile {
protected:
    /** A configuration that is long enough to be caught while it is written, told apart by `mark`. */
    int save_marked(char mark) const {
        Config config(m_file);
        config.p_stream_data->port = static_cast<unsigned char>(mark);
        config.p_stream_data->file_name = QString(length, QLatin1Char(mark));
        config.p_stream_data->write();
        return 0;
    }

    [[noreturn]] void save_forever(std::initializer_list<char> marks) const {
        for (;;) {
            for (const char mark : marks) {
                save_marked(mark);
            }
        }
    }

    /** The mark of the file when it is complete, else 0. */
    char mark_of_file() const {
        Config config(m_file);
        config.load_cfg();
        const char mark = static_cast<char>(config.p_stream_data->port);
        return config.p_stream_data->file_name == QString(length, QLatin1Char(mark)) ? mark : '\0';
    }
};

TEST_F(JsnCfgCrash, DyingAfterAnyNumberOfBytesLeavesTheOldFile) {
    save_marked('a');
    const auto whole = static_cast<rlim_t>(text().size());
    for (const rlim_t bytes : {rlim_t{0}, rlim_t{1}, rlim_t{4096}, whole / 2, whole - 1}) {
        const int result = wait_for_child(start_child([&] {
            const rlimit limit{.rlim_cur = bytes, .rlim_max = bytes};
            setrlimit(RLIMIT_FSIZE, &limit); // the system kills the writer at this size
            return save_marked('b');
        }));
        EXPECT_EQ(result, 128 + SIGXFSZ) << bytes;
        EXPECT_EQ(mark_of_file(), 'a') << bytes;
    }
}

TEST_F(JsnCfgCrash, AWriteThatFailsAfterAnyNumberOfBytesLeavesTheOldFile) {
    save_marked('a');
    const auto whole = static_cast<rlim_t>(text().size());
    for (const rlim_t bytes : {rlim_t{0}, rlim_t{1}, rlim_t{4096}, whole / 2, whole - 1}) {
        const int result = wait_for_child(start_child([&] {
            std::signal(SIGXFSZ, SIG_IGN); // the write fails instead
            const rlimit limit{.rlim_cur = bytes, .rlim_max = bytes};
            setrlimit(RLIMIT_FSIZE, &limit);
            Config config(m_file);
            config.p_stream_data->file_name = QString(length, QLatin1Char('b'));
            config.p_stream_data->write();
            return config.save_cfg() == -1 ? 0 : 1;
        }));
        EXPECT_EQ(result, 0) << bytes;
        EXPECT_EQ(mark_of_file(), 'a') << bytes;
    }
}

TEST_F(JsnCfgCrash, AKillAtAnyMomentLeavesACompleteFile) {
    save_marked('a');
    std::mt19937 random(1);
    for (int round = 0; round < 30; ++round) {
        const pid_t child = start_child([this]() -> int { save_forever({'a', 'b'}); });
        usleep(static_cast<useconds_t>(2000 + random() % 20'000));
        kill(child, SIGKILL);
        EXPECT_EQ(wait_for_child(child), 128 + SIGKILL);
        ASSERT_NE(mark_of_file(), '\0') << "round " << round;
    }
}

TEST_F(JsnCfgCrash, TwoProcessesSavingAtOnceLeaveTheFileOfOne) {
    save_marked('a');
    const pid_t first = start_child([this]() -> int { save_forever({'a'}); });
    const pid_t second = start_child([this]() -> int { save_forever({'b'}); });
    bool seen_first = false;
    bool seen_second = false;
    for (int look = 0; look < 10'000 && (look < 100 || !seen_first || !seen_second); ++look) {
        const char mark = mark_of_file();
        seen_first = seen_first || mark == 'a';
        seen_second = seen_second || mark == 'b';
        EXPECT_NE(mark, '\0') << "look " << look;
    }
    kill(first, SIGKILL);
    kill(second, SIGKILL);
    wait_for_child(first);
    wait_for_child(second);
    EXPECT_TRUE(seen_first);
    EXPECT_TRUE(seen_second);
    EXPECT_NE(mark_of_file(), '\0');
}

} // namespace
