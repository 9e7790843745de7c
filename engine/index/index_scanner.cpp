#include "index/index_scanner.h"

#include "diagnostics/log.h"
#include "file/file_growth.h"
#include "file/packet_reader.h"
#include "index/access_point_collector.h"
#include "index/bisector.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
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

void scan(const std::stop_token& stop, const std::shared_ptr<const FileSource>& source,
          AccessPointIndex& index, const std::function<void()>& on_progress) {
    // Linux keeps a nice value per thread: playing comes first.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), background_nice);
    if (source->size() >= Bisector::worthwhile) {
        if (const auto end = Bisector{source}.end()) {
            index.set_estimated_end(*end);
        }
    }
    PacketReader reader{source, scan_block_size};
    AccessPointCollector collector{index};
    FileGrowth growth{source};
    std::mutex mutex;
    std::condition_variable_any never;
    std::uint64_t scanned = 0;
    bool is_finished = false;
    while (!stop.stop_requested()) {
        const bool is_growing = growth.is_growing(SteadyClock::now());
        const bool goes_on =
            reader.read_block([&](const TsPacket& packet) { collector.feed(packet); }, is_growing);
        const bool is_more = reader.offset() > scanned;
        scanned = reader.offset();
        const bool ends_now = !goes_on && !is_growing && (is_more || !is_finished);
        index.set_growing(is_growing);
        if (ends_now) {
            collector.finish();
        } else if (is_more) {
            collector.publish_extent(!goes_on);
        }
        is_finished = !goes_on && !is_growing;
        if (is_more || ends_now) {
            on_progress();
        }
        if (!goes_on) {
            std::unique_lock lock{mutex};
            never.wait_for(lock, stop, is_growing ? look_at_growth : look_for_growth, [] { return false; });
        }
    }
}

} // namespace

IndexScanner::IndexScanner(std::shared_ptr<const FileSource> source, std::shared_ptr<AccessPointIndex> index,
                           std::function<void()> on_progress)
    : thread_{[source = std::move(source), index = std::move(index),
               on_progress = std::move(on_progress)](const std::stop_token& stop) {
          try {
              scan(stop, source, *index, on_progress);
          } catch (const std::exception& error) {
              log_incident("index", "scan", std::string{"scanning ended early: "} + error.what());
          }
      }} {}

} // namespace velmora
