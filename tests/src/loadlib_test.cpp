#include "loadlib.h"

#include <array>
#include <cstdio>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

fs::path engine(const std::string& mark) {
    return fs::path(ENGINES) / mark / "libvelmora.so";
}

TEST(LoadLib, OpensALibraryAndFindsItsSymbols) {
    testing::internal::CaptureStdout();
    {
        const LoadLib library(engine("first").c_str());
        EXPECT_TRUE(library.IsLoaded());
        EXPECT_NE(library.GetApiPtr("m_velmora"), nullptr);
        EXPECT_EQ(library.GetApiPtr("no_such_symbol"), nullptr);
    }
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "loaded first\nunloaded first\n");
}

TEST(LoadLib, WithoutALibraryIsNotLoadedAndFindsNothing) {
    testing::internal::CaptureStderr();
    const LoadLib library("./no-such-library.so");
    EXPECT_FALSE(library.IsLoaded());
    EXPECT_EQ(library.GetApiPtr("m_velmora"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LoadLib, KeepsTheLibrarysSymbolsToItself) {
    const LoadLib library(engine("second").c_str());
    ASSERT_TRUE(library.IsLoaded());
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "call_function_that_exists_nowhere"), nullptr);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "m_velmora"), library.GetApiPtr("m_velmora"));
}

TEST(LoadLib, ResolvesFunctionsWhenTheyAreCalled) {
    const LoadLib library(engine("lazy").c_str());
    EXPECT_TRUE(library.IsLoaded());
}

/** Runs the probe in a directory of its own with another directory as the search path. */
class LoadEngine : public testing::Test {
protected:
    LoadEngine() {
        fs::create_directories(m_working);
        fs::create_directories(m_search);
    }
    void TearDown() override { fs::remove_all(m_root); }

    static void place(const std::string& mark, const fs::path& directory) {
        fs::copy_file(engine(mark), directory / "libvelmora.so");
    }
    static void place_text(const fs::path& directory) {
        std::ofstream(directory / "libvelmora.so") << "text";
    }

    std::string probe() const {
        const std::string command = "cd '" + m_working.string() + "' && LD_LIBRARY_PATH='" +
                                    m_search.string() + "' '" LOAD_PROBE "' 2>&1";
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "re"), pclose);
        std::array<char, 1024> output{};
        const std::size_t bytes = std::fread(output.data(), 1, output.size(), pipe.get());
        return {output.data(), bytes};
    }

    fs::path m_root = fs::path(testing::TempDir()) / ("load_engine_" + std::to_string(getpid()));
    fs::path m_working = m_root / "working";
    fs::path m_search = m_root / "search";
};

TEST_F(LoadEngine, PrefersTheWorkingDirectory) {
    place("first", m_working);
    place("second", m_search);
    EXPECT_EQ(probe(), "loaded first\nlibrary kept, table found, extension found\n");
}

TEST_F(LoadEngine, TakesTheSearchPathWhenTheWorkingDirectoryHasNone) {
    place("second", m_search);
    EXPECT_EQ(probe(), "loaded second\nlibrary kept, table found, extension none\n");
}

TEST_F(LoadEngine, TakesTheSearchPathOnceWhenTheWorkingDirectoryHasAnUnusableOne) {
    place_text(m_working);
    place("second", m_search);
    EXPECT_EQ(probe(), "loaded second\nlibrary kept, table found, extension none\n");
}

TEST_F(LoadEngine, IsSilentWithoutAnyLibrary) {
    EXPECT_EQ(probe(), "library none, table none, extension none\n");
}

TEST_F(LoadEngine, IsSilentWithUnusableLibrariesOnly) {
    place_text(m_working);
    place_text(m_search);
    EXPECT_EQ(probe(), "library none, table none, extension none\n");
}

TEST_F(LoadEngine, KeepsALibraryWithoutTheTable) {
    place("bare", m_working);
    place("second", m_search);
    EXPECT_EQ(probe(), "loaded bare\nlibrary kept, table none, extension none\n");
}

} // namespace
