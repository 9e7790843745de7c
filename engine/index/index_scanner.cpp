#include "index/index_scanner.h"

#include "diagnostics/log.h"
#include "file/packet_reader.h"
#include "index/access_point_collector.h"
#include "index/bisector.h"

#include <exception>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t scan_block_size = std::size_t{1} << 20U;
constexpr int background_nice = 10;

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
    while (!stop.stop_requested()) {
        const bool goes_on = reader.read_block([&](const TsPacket& packet) { collector.feed(packet); });
        if (!goes_on) {
            collector.finish();
            on_progress();
            return;
        }
        collector.publish_extent(false);
        on_progress();
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
