// Loading, opening, closing and unloading, over and over, leaves nothing behind.
#include "engine_under_test.h"
#include "support/stream_maker.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

namespace {

std::size_t entries_of(const char* folder) {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator{folder}) {
        ++count;
    }
    return count;
}

bool is_mapped(const std::string& name) {
    std::ifstream maps{"/proc/self/maps"};
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with(name)) {
            return true;
        }
    }
    return false;
}

TEST(Lifecycle, PlayingTwiceLeavesNoThreadFileOrLibrary) {
    StreamRecipe recipe;
    recipe.audio = "mp2";
    const auto file = make_stream(recipe);
    std::thread{[] {}}.join(); // a sanitizer starts a thread of its own together with the first
    const std::size_t threads = entries_of("/proc/self/task");
    const std::size_t descriptors = entries_of("/proc/self/fd");
    for (int round = 0; round < 2; ++round) {
        EngineLibrary library;
        EngineUnderTest engine{library};
        ASSERT_EQ(engine.play(file), 0);
        ASSERT_TRUE(engine.wait_for_pictures(5));
        engine.stop();
        ASSERT_EQ(engine.play(file), 0);
        engine.close();
    }
    EXPECT_EQ(entries_of("/proc/self/task"), threads);
    EXPECT_EQ(entries_of("/proc/self/fd"), descriptors);
    EXPECT_FALSE(is_mapped("libvelmora.so"));
}

TEST(Lifecycle, HandlesAreNeverUsedAgainAndStrangersAreIgnored) {
    EngineLibrary library;
    const velmora_t& table = library.table();
    std::set<velmora_handle_t> handles;
    for (int i = 0; i < 4; ++i) {
        velmora_handle_t handle = 0;
        ASSERT_EQ(table.Velmora_open(velmora_setup_t{}, &handle), 0);
        EXPECT_NE(handle, 0U);
        EXPECT_TRUE(handles.insert(handle).second);
        table.Velmora_close(handle);
        table.Velmora_close(handle);
        EXPECT_NE(table.Velmora_start(handle, 1), 0);
        table.Velmora_stop(handle, 15);
        velmora_info_t info{};
        info.action_bit = 7;
        table.Velmora_get_info(handle, &info, 0);
        EXPECT_EQ(info.action_bit, 0);
    }
    EXPECT_NE(table.Velmora_open(velmora_setup_t{}, nullptr), 0);
    table.Velmora_get_info(1, nullptr, 0);
    table.Velmora_get_dll_ver(nullptr);
}

TEST(Lifecycle, ReportsItsVersion) {
    EngineLibrary library;
    int version = 0;
    library.table().Velmora_get_dll_ver(&version);
    EXPECT_EQ(version, 100);
    EXPECT_EQ(library.extension().size, sizeof(velmora_ext_t));
}

TEST(Lifecycle, WhatIsNotAvailableIsRefused) {
    EngineLibrary library;
    EngineUnderTest engine{library};
    const velmora_t& table = library.table();
    EXPECT_NE(table.Velmora_start(engine.handle(), 4), 0) << "no source was set";
    EXPECT_NE(table.Velmora_start(engine.handle(), 8), 0);
    EXPECT_NE(table.Velmora_start(engine.handle(), 2), 0);
    EXPECT_NE(table.Velmora_start(engine.handle(), 1), 0) << "no file was set";
    EXPECT_LT(table.Velmora_get_tag_by_i(engine.handle(), 0), 0);
    table.Velmora_register_record_encode_frame(engine.handle(), nullptr, nullptr, nullptr);
    table.Velmora_put_encode_frame(engine.handle(), nullptr, 0);
    table.Velmora_setup_port(engine.handle(), 0);
    table.Velmora_set_event(engine.handle(), playback_event_t{99, -1, -1, -1});
}

} // namespace
