// The index beside a file is small, notices all damage, and is believed only where the file bears it out.
#include "index/sidecar_file.h"

#include "index/bisector.h"
#include "index/index_scanner.h"
#include "index/scanned_points.h"
#include "index/sidecar_writer.h"
#include "support/stream_maker.h"
#include "table/scratch_files.h"

#include "support/test_time.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;

StreamRecipe ten_seconds(const std::string& codec = "h264", const std::string& options = {}) {
    StreamRecipe recipe;
    recipe.codec = codec;
    recipe.width = 320;
    recipe.height = 240;
    recipe.duration = 10;
    recipe.gop = 25;
    recipe.audio = "mp2";
    recipe.video_options = options;
    return recipe;
}

Bytes encoded(const std::vector<AccessPoint>& points, const std::optional<SidecarExtent>& extent) {
    SidecarEncoder encoder;
    for (const AccessPoint& point : points) {
        encoder.add(point);
    }
    if (extent) {
        encoder.add(*extent);
    }
    return encoder.take();
}

Bytes index_of(const std::filesystem::path& file) {
    AccessPointIndex index;
    scan(open(file), index);
    return encoded(index.points(), SidecarExtent{std::filesystem::file_size(file), index.extent().end,
                                                 index.extent().last_picture});
}

bool is_beginning_of(const std::vector<AccessPoint>& beginning, const std::vector<AccessPoint>& whole) {
    return beginning.size() <= whole.size() &&
           std::equal(beginning.begin(), beginning.end(), whole.begin(), same);
}

/// Points of a stream of this rate, evenly paced, with what varies in real ones.
std::vector<AccessPoint> regular_points(std::size_t count, std::uint64_t bytes_apart, Ticks apart) {
    auto streams = std::make_shared<StreamSelection>();
    streams->video = ElementaryStream{0x100, StreamKind::video, AV_CODEC_ID_H264, 0, 0x1B};
    streams->audio = ElementaryStream{0x101, StreamKind::audio, AV_CODEC_ID_AAC, 0, 0x0F};
    std::vector<AccessPoint> points;
    for (std::size_t i = 0; i < count; ++i) {
        const auto number = static_cast<Ticks::rep>(i);
        AccessPoint point;
        point.offset = i * bytes_apart + (i * 7919 % 1000) * 188;
        point.anchor.position = Position{number * apart - Ticks{7200}};
        point.anchor.stream =
            StreamTime{(8'000'000'000 + number * apart.count()) & ((std::int64_t{1} << 33U) - 1)};
        point.presentation = point.anchor.position + Ticks{7200};
        point.clean_from = point.presentation;
        point.streams = streams;
        points.push_back(point);
    }
    return points;
}

TEST(SidecarFormatTest, GivesBackWhatWasPutIn) {
    StreamRecipe wrapped = ten_seconds();
    wrapped.start = 95443.7 - 5;
    for (const StreamRecipe& recipe :
         {ten_seconds(), wrapped, ten_seconds("h264", "-x264-params intra-refresh=1:bframes=0"),
          ten_seconds("hevc"), ten_seconds("none")}) {
        const auto points = points_of(make_stream(recipe));
        ASSERT_GE(points.size(), 5U);
        const SidecarExtent extent{123'456'789'012, Position{10s}, Position{9s}};
        const SidecarContents contents = decode_sidecar(encoded(points, extent));
        EXPECT_EQ(contents.points.size(), points.size());
        EXPECT_TRUE(is_beginning_of(contents.points, points));
        EXPECT_FALSE(contents.is_damaged);
        ASSERT_TRUE(contents.extent);
        EXPECT_EQ(contents.extent->covered, extent.covered);
        EXPECT_EQ(contents.extent->end, extent.end);
        EXPECT_EQ(contents.extent->last_picture, extent.last_picture);
    }
}

TEST(SidecarFormatTest, FollowsChangesOfTheStreams) {
    auto points = points_of(make_stream(ten_seconds()));
    auto other = std::make_shared<StreamSelection>(*points.front().streams);
    other->audio.reset();
    other->data = ElementaryStream{0x1F0, StreamKind::data, AV_CODEC_ID_SMPTE_KLV, 0, 0x15};
    for (const std::size_t changed : {3U, 4U, 7U}) {
        points[changed].streams = other;
        points[changed].anchor.stream.ticks = 5; // joined
    }
    const SidecarContents contents = decode_sidecar(encoded(points, std::nullopt));
    EXPECT_EQ(contents.points.size(), points.size());
    EXPECT_TRUE(is_beginning_of(contents.points, points));
}

TEST(SidecarFormatTest, TakesTenBytesAPointAndTenMillionthsOfTheFile) {
    constexpr std::size_t count = 1000;
    struct Rate {
        std::uint64_t bits_per_second;
        Ticks apart;
    };
    for (const Rate& rate : {Rate{8'000'000, 2s}, Rate{40'000'000, 2s}, Rate{8'000'000, 10s},
                             Rate{40'000'000, 10s}, Rate{25'000'000, 500ms}}) {
        const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(rate.apart);
        const std::uint64_t bytes_apart =
            rate.bits_per_second / 8 * static_cast<std::uint64_t>(milliseconds.count()) / 1000;
        const std::size_t header = encoded(regular_points(1, bytes_apart, rate.apart), std::nullopt).size();
        const std::size_t size = encoded(regular_points(count, bytes_apart, rate.apart), std::nullopt).size();
        EXPECT_LE(size - header, 10 * count) << rate.bits_per_second;
        EXPECT_LE((size - header) * 1'000'000, 10 * count * bytes_apart) << rate.bits_per_second;
        EXPECT_LE(header, 64U);
    }
}

TEST(SidecarFormatTest, CutAnywhereKeepsItsWholeRecords) {
    const auto points = points_of(make_stream(ten_seconds()));
    const Bytes bytes = encoded(points, SidecarExtent{1'000'000, Position{10s}, Position{9s}});
    const std::size_t header = SidecarEncoder{}.take().size();
    std::size_t most = 0;
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const std::span cut{bytes.data(), size};
        if (size < header) {
            EXPECT_THROW(decode_sidecar(cut), UnusableSidecar) << size;
            continue;
        }
        const SidecarContents contents = decode_sidecar(cut);
        EXPECT_TRUE(is_beginning_of(contents.points, points)) << size;
        EXPECT_GE(contents.points.size(), most) << size;
        EXPECT_FALSE(contents.extent) << size;
        EXPECT_FALSE(contents.is_damaged) << size;
        most = contents.points.size();
    }
    EXPECT_EQ(most, points.size());
}

TEST(SidecarFormatTest, NoticesEveryDamagedByte) {
    const auto points = points_of(make_stream(ten_seconds()));
    const Bytes bytes = encoded(points, SidecarExtent{1'000'000, Position{10s}, Position{9s}});
    const std::size_t header = SidecarEncoder{}.take().size();
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        for (const unsigned damage : {0x01U, 0x02U, 0x04U, 0x08U, 0x10U, 0x20U, 0x40U, 0x80U, 0xFFU}) {
            Bytes damaged = bytes;
            damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ damage);
            if (at < header) {
                EXPECT_THROW(decode_sidecar(damaged), UnusableSidecar) << at;
                continue;
            }
            const SidecarContents contents = decode_sidecar(damaged);
            EXPECT_TRUE(is_beginning_of(contents.points, points)) << at;
            EXPECT_FALSE(contents.extent) << at;
        }
    }
}

TEST(SidecarFormatTest, IsTheSameWrittenInPieces) {
    const auto points = points_of(make_stream(ten_seconds()));
    SidecarEncoder encoder;
    Bytes pieces = encoder.take();
    for (const AccessPoint& point : points) {
        encoder.add(point);
        const Bytes piece = encoder.take();
        pieces.insert(pieces.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(pieces, encoded(points, std::nullopt));
}

class SidecarFile : public testing::Test {
protected:
    SidecarFile() { std::filesystem::copy_file(make_stream(ten_seconds()), file_); }

    void store(const Bytes& index) const { scratch_.write("film.ts.idx", index); }
    std::optional<SidecarContents> loaded() const { return load_sidecar(open(file_)); }
    void append(const std::filesystem::path& part) const {
        std::ofstream out{file_, std::ios::binary | std::ios::app};
        out << std::ifstream{part, std::ios::binary}.rdbuf();
    }

    ScratchFolder scratch_;
    std::filesystem::path file_ = scratch_.path() / "film.ts";
};

TEST_F(SidecarFile, ServesTheFileThatItWasMadeOf) {
    EXPECT_FALSE(loaded());
    store(index_of(file_));
    const auto contents = loaded();
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->points.size(), points_of(file_).size());
    EXPECT_TRUE(contents->extent);
}

TEST_F(SidecarFile, OfAnotherFileIsIgnored) {
    StreamRecipe longer_groups = ten_seconds();
    longer_groups.gop = 50;
    const Bytes foreign = index_of(make_stream(longer_groups));
    StreamRecipe later = ten_seconds();
    later.start = 1;
    for (const Bytes& index :
         {foreign, index_of(make_stream(later)), index_of(make_stream(ten_seconds("hevc")))}) {
        store(index);
        EXPECT_FALSE(loaded());
    }
}

TEST_F(SidecarFile, WhoseFileWasWrittenToSinceIsIgnored) {
    store(index_of(file_));
    std::filesystem::last_write_time(file_,
                                     std::filesystem::last_write_time(scratch_.path() / "film.ts.idx") + 1s);
    EXPECT_FALSE(loaded());
}

TEST_F(SidecarFile, WhoseFileWasCutIsIgnored) {
    const Bytes index = index_of(file_);
    std::filesystem::resize_file(file_, std::filesystem::file_size(file_) - 188);
    store(index);
    EXPECT_FALSE(loaded());
    store(encoded(points_of(make_stream(ten_seconds())), std::nullopt));
    EXPECT_TRUE(loaded()) << "unfinished, and all its points are there";
    std::filesystem::resize_file(file_, std::filesystem::file_size(file_) / 2);
    EXPECT_FALSE(loaded());
}

TEST_F(SidecarFile, WhoseFileHasGrownSinceHoldsForItsPart) {
    store(index_of(file_));
    append(make_stream(ten_seconds("hevc")));
    const auto contents = loaded();
    ASSERT_TRUE(contents);
    EXPECT_FALSE(contents->extent);
    EXPECT_FALSE(contents->points.empty());
}

TEST_F(SidecarFile, OfAFutureVersionOrUnreadableIsIgnored) {
    const Bytes index = index_of(file_);
    Bytes future = index;
    ++future[7];
    for (const Bytes& bytes : {future, Bytes{}, Bytes(1000, 'x')}) {
        store(bytes);
        EXPECT_FALSE(loaded());
    }
    std::filesystem::remove(scratch_.path() / "film.ts.idx");
    std::filesystem::create_directory(scratch_.path() / "film.ts.idx");
    EXPECT_FALSE(loaded());
}

/// Scans until the file has been looked at to this end.
std::vector<AccessPoint> scanned(const std::filesystem::path& file, Position end, SidecarUse sidecar) {
    auto index = std::make_shared<AccessPointIndex>();
    std::mutex mutex;
    std::condition_variable progress;
    const auto source = open(file);
    const IndexScanner scanner{
        source, std::make_shared<FileGrowth>(source, real_time().now()), index, sidecar, real_time(), [&] {
            const std::lock_guard lock{mutex};
            progress.notify_all();
        }};
    std::unique_lock lock{mutex};
    EXPECT_TRUE(
        progress.wait_for(lock, 20s, [&] { return index->extent().complete && index->extent().end >= end; }));
    return index->points();
}

TEST_F(SidecarFile, IsGoneOnFromAsIfTheWholeFileWereScanned) {
    for (const auto& recipe : {ten_seconds(), ten_seconds("h264", "-x264-params intra-refresh=1:bframes=0"),
                               ten_seconds("none"), ten_seconds("mpeg2")}) {
        std::filesystem::copy_file(make_stream(recipe), file_,
                                   std::filesystem::copy_options::overwrite_existing);
        const Bytes index = index_of(file_);
        append(make_stream(ten_seconds("hevc")));
        store(index);
        AccessPointIndex whole;
        scan(open(file_), whole);
        const auto resumed = scanned(file_, whole.extent().end, SidecarUse::kept);
        EXPECT_EQ(resumed.size(), whole.size()) << recipe.codec;
        EXPECT_TRUE(is_beginning_of(resumed, whole.points())) << recipe.codec;
    }
}

TEST_F(SidecarFile, IsNeitherReadNorWrittenUnasked) {
    const auto points = points_of(file_);
    AccessPointIndex whole;
    scan(open(file_), whole);
    const Bytes index = encoded(
        {points.front(), points.back()},
        SidecarExtent{std::filesystem::file_size(file_), whole.extent().end, whole.extent().last_picture});
    store(index);
    EXPECT_EQ(scanned(file_, whole.extent().end, SidecarUse::kept).size(), 2U) << "it is believed";
    EXPECT_EQ(scanned(file_, whole.extent().end, SidecarUse::none).size(), points.size());
    EXPECT_EQ(read_bytes(scratch_.path() / "film.ts.idx"), index);
}

TEST_F(SidecarFile, IsNotReplacedWhileARecorderWritesIt) {
    const auto source = open(file_);
    AccessPointIndex index;
    scan(source, index);
    {
        const SidecarWriter recorder{file_.string()};
        save_sidecar(*source, index, Bisector::worthwhile);
        EXPECT_EQ(read_bytes(scratch_.path() / "film.ts.idx"), SidecarEncoder{}.take());
    }
    save_sidecar(*source, index, Bisector::worthwhile);
    EXPECT_EQ(decode_sidecar(read_bytes(scratch_.path() / "film.ts.idx")).points.size(), index.size());
}

TEST_F(SidecarFile, IsNotWrittenForAFileThatWasReplacedOrIsSmall) {
    const auto source = open(file_);
    AccessPointIndex index;
    scan(source, index);
    save_sidecar(*source, index, Bisector::worthwhile - 1);
    EXPECT_FALSE(std::filesystem::exists(scratch_.path() / "film.ts.idx"));
    std::filesystem::rename(scratch_.write("other.ts", Bytes(1000, 'x')), file_);
    save_sidecar(*source, index, Bisector::worthwhile);
    EXPECT_FALSE(std::filesystem::exists(scratch_.path() / "film.ts.idx"));
}

} // namespace
} // namespace velmora::test
