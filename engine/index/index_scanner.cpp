#include "index/index_scanner.h"

#include "diagnostics/log.h"
#include "file/packet_reader.h"
#include "index/access_point_collector.h"
#include "index/bisector.h"
#include "index/sidecar_file.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t scan_block_size = std::size_t{1} << 20U;
constexpr int background_nice = 10;
/// How often to look for more.
constexpr std::chrono::milliseconds look_at_growth{100};
constexpr std::chrono::milliseconds look_for_growth{500};

/// Who writes a file in pieces comes again within this time.
constexpr std::chrono::seconds recently{5};

/// One file's scan, from the first block to the last that is ever added.
class FileScan {
public:
    FileScan(std::shared_ptr<const FileSource> source, std::shared_ptr<FileGrowth> growth,
             std::shared_ptr<AccessPointIndex> index, SidecarUse sidecar, TimeSource& time,
             std::function<void()> on_progress)
        : source_{std::move(source)}, growth_{std::move(growth)}, index_{std::move(index)}, sidecar_{sidecar},
          time_{time}, on_progress_{std::move(on_progress)}, reader_{source_, scan_block_size} {}

    void run(const std::stop_token& stop) {
        begin();
        while (!stop.stop_requested() && source_->size() == known_size_ &&
               !growth_->is_growing(time_.now())) {
            pause(stop, look_for_growth);
        }
        while (!stop.stop_requested()) {
            scan_block(stop);
        }
    }

private:
    void begin() {
        const auto stored = sidecar_ == SidecarUse::kept ? load_sidecar(source_) : std::nullopt;
        if (stored) {
            take(*stored);
        } else {
            collector_.emplace(*index_, source_->first_streams());
        }
        if (known_size_ == 0 && source_->size() >= Bisector::worthwhile) {
            if (const auto end = Bisector{source_}.end()) {
                index_->set_estimated_end(*end);
            }
        }
    }

    void take(const SidecarContents& stored) {
        for (const AccessPoint& point : stored.points) {
            index_->append(point);
        }
        const AccessPoint& last = stored.points.back();
        if (stored.extent) {
            known_size_ = stored.extent->covered;
            index_->set_extent(stored.extent->end, stored.extent->last_picture, true);
        }
        if (last.streams->video) {
            collector_.emplace(*index_, last.streams, last.anchor);
            reader_.seek(last.offset);
        } else {
            // Whether there is no video, or it was left out because it is not sent, only the whole file
            // tells.
            collector_.emplace(*index_, source_->first_streams());
        }
        on_progress_();
    }

    void scan_block(const std::stop_token& stop) {
        const bool is_growing = growth_->is_growing(time_.now());
        const bool goes_on =
            reader_.read_block([this](const TsPacket& packet) { collector_->feed(packet); }, is_growing);
        const bool is_more = reader_.offset() > scanned_;
        scanned_ = reader_.offset();
        const bool ends_now = !goes_on && !is_growing && (is_more || !is_finished_);
        index_->set_growing(is_growing);
        bool is_progress = is_more || ends_now;
        if (ends_now) {
            collector_->finish();
            if (sidecar_ == SidecarUse::kept) {
                save_sidecar(*source_, *index_, scanned_);
            }
        } else if ((is_more && scanned_ > known_size_) || (!goes_on && !index_->extent().complete)) {
            collector_->publish_extent(!goes_on);
            is_progress = true;
        }
        is_finished_ = !goes_on && !is_growing;
        if (is_progress) {
            on_progress_();
        }
        if (!goes_on) {
            const bool may_grow = is_growing || source_->time_since_writing() < recently;
            pause(stop, may_grow ? look_at_growth : look_for_growth);
        }
    }

    void pause(const std::stop_token& stop, std::chrono::milliseconds duration) {
        never_->wait(stop, time_.now() + duration);
    }

    std::shared_ptr<const FileSource> source_;
    std::shared_ptr<FileGrowth> growth_;
    std::shared_ptr<AccessPointIndex> index_;
    SidecarUse sidecar_;
    TimeSource& time_;
    const std::unique_ptr<WakeSignal> never_{time_.make_signal()};
    std::function<void()> on_progress_;
    PacketReader reader_;
    std::optional<AccessPointCollector> collector_;
    std::uint64_t known_size_{0}; ///< what the index beside the file covers to the end; 0 = not all of it
    std::uint64_t scanned_{0};
    bool is_finished_{false};
};

} // namespace

IndexScanner::IndexScanner(std::shared_ptr<const FileSource> source, std::shared_ptr<FileGrowth> growth,
                           std::shared_ptr<AccessPointIndex> index, SidecarUse sidecar, TimeSource& time,
                           std::function<void()> on_progress)
    : thread_{time, [&time, source = std::move(source), growth = std::move(growth), index = std::move(index),
                     sidecar, on_progress = std::move(on_progress)](const std::stop_token& stop) {
                  // Linux keeps a nice value per thread: playing comes first.
                  ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), background_nice);
                  try {
                      FileScan{source, growth, index, sidecar, time, on_progress}.run(stop);
                  } catch (const std::exception& error) {
                      log_incident("index", "scan", std::string{"scanning ended early: "} + error.what());
                      // Nobody waits for what will not come any more.
                      const IndexExtent extent = index->extent();
                      index->set_extent(extent.end, extent.last_picture, true);
                      on_progress();
                  }
              }} {}

} // namespace velmora
