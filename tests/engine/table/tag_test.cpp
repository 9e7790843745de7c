// Tags: marked where the picture stands, listed in order, kept beside the file.
#include "engine_under_test.h"
#include "scratch_files.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <fstream>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

class Tags : public testing::Test {
protected:
    Tags() {
        StreamRecipe recipe;
        recipe.width = 320;
        recipe.height = 240;
        recipe.duration = 20;
        recipe.gop = 50;
        recipe.bframes = 3;
        std::filesystem::copy_file(make_stream(recipe), file_);
    }

    std::vector<int> listed() {
        std::vector<int> seconds;
        for (int i = 0; i < 128; ++i) {
            const int second = engine_.table().Velmora_get_tag_by_i(engine_.handle(), i);
            if (second < 0) {
                break;
            }
            seconds.push_back(second);
        }
        return seconds;
    }
    void mark_at(int second) {
        engine_.seek(second);
        ASSERT_TRUE(engine_.wait_for_info([&](const velmora_info_t&) {
            return engine_.last_number() == static_cast<unsigned>(second) * 25U;
        }));
        engine_.table().Velmora_set_event(engine_.handle(), playback_event_t{PLAYBACK_TAG_EVENT, 0, 0, 0});
    }
    std::string stored() const {
        std::ifstream file{file_.string() + ".tags"};
        return {std::istreambuf_iterator<char>{file}, {}};
    }

    ScratchFolder scratch_;
    std::filesystem::path file_ = scratch_.path() / "film.ts";
    EngineLibrary library_;
    EngineUnderTest engine_{library_};
};

TEST_F(Tags, AreListedInOrderOnceEachAndSurvive) {
    EXPECT_TRUE(listed().empty()) << "nothing plays";
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    ASSERT_TRUE(engine_.wait_for_pictures(1));
    EXPECT_TRUE(listed().empty());
    for (const int second : {12, 3, 12, 7}) {
        mark_at(second);
    }
    EXPECT_EQ(listed(), (std::vector{3, 7, 12}));
    engine_.stop();
    EXPECT_TRUE(listed().empty());
    EXPECT_EQ(stored(), "3\n7\n12\n");
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    EXPECT_EQ(listed(), (std::vector{3, 7, 12}));
}

TEST_F(Tags, DamagedLinesAreLostAloneAndNothingElse) {
    std::ofstream{file_.string() + ".tags"} << "5\nrubbish\n-3\n9\n9\n99999999999999\n\n2";
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    EXPECT_EQ(listed(), (std::vector{2, 5, 9}));
    mark_at(4);
    engine_.stop();
    EXPECT_EQ(stored(), "2\n4\n5\n9\n");
}

TEST_F(Tags, WhatCannotBeWrittenStaysInMemory) {
    std::filesystem::create_directory(file_.string() + ".tags");
    std::ofstream{file_.string() + ".tags/occupied"} << "x";
    ASSERT_EQ(engine_.play(file_, PLAYER_SPD_PAUSE), 0);
    mark_at(6);
    EXPECT_EQ(listed(), (std::vector{6}));
    engine_.stop();
    EXPECT_TRUE(std::filesystem::exists(file_.string() + ".tags/occupied"));
}

} // namespace
