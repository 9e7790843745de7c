#include "file/file_growth.h"

#include "table/scratch_files.h"

#include <gtest/gtest.h>

#include <fstream>

namespace velmora {
namespace {

using namespace std::chrono_literals;

/// Packets without content.
Bytes packets() {
    Bytes bytes(std::size_t{188} * 10, 0);
    for (std::size_t at = 0; at < bytes.size(); at += 188) {
        bytes[at] = 0x47;
    }
    return bytes;
}

class FileGrowthTest : public testing::Test {
protected:
    void SetUp() override {
        if (source_->writer() == FileSource::Writer::not_known) {
            GTEST_SKIP() << "the system cannot tell whether somebody writes to files in " << scratch_.path();
        }
    }

    ScratchFolder scratch_;
    std::filesystem::path file_ = scratch_.write("a.ts", packets());
    std::shared_ptr<const FileSource> source_ = std::make_shared<const FileSource>(file_.string());
    SteadyTime now_ = SteadyClock::now();
};

TEST_F(FileGrowthTest, NobodyWritesToAFileThatWasJustWritten) {
    EXPECT_FALSE((FileGrowth{source_, now_}.is_growing(now_)));
}

TEST_F(FileGrowthTest, GrowsAsLongAsItIsOpenForWritingAndLessThanASecondLonger) {
    FileGrowth growth{source_, now_};
    {
        const std::ofstream writer{file_, std::ios::app};
        EXPECT_TRUE(growth.is_growing(now_));
        EXPECT_TRUE(growth.is_growing(now_ + 1h));
    }
    EXPECT_TRUE(growth.is_growing(now_ + 1h + 200ms)) << "it may be opened again for the next piece";
    EXPECT_FALSE(growth.is_growing(now_ + 1h + 700ms));
}

TEST_F(FileGrowthTest, GrowsWherePiecesComeOneAfterTheOther) {
    FileGrowth growth{source_, now_};
    EXPECT_FALSE(growth.is_growing(now_));
    std::ofstream{file_, std::ios::app} << "more";
    EXPECT_TRUE(growth.is_growing(now_ + 1s));
    EXPECT_FALSE(growth.is_growing(now_ + 2s));
}

} // namespace
} // namespace velmora
