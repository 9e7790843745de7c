// Turns pictures of two fields into pictures of one moment.
#pragma once

#include "decode/filter_library.h"
#include "media/av_handles.h"

#include <functional>
#include <memory>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libavutil/rational.h>
}

namespace velmora {

/// Gives out one picture for each that it takes, with the same pts. Progressive pictures stay as they are,
/// and come out at once as long as no interlaced one has come; after that all come out when the next one or
/// drain() follows, since a field is judged by its neighbours in time. For one thread.
class Deinterlacer {
public:
    using Sink = std::function<void(AvFrame)>;

    /// Takes a decoded picture, pts in ticks of the timeline.
    void filter(AvFrame picture, const Sink& sink);
    /// Gives out what is kept: at the end of the stream and before a jump of its timestamps.
    void drain(const Sink& sink);
    /// Drops what is kept, before a jump in the file.
    void flush();

    /// Whether interlaced pictures are worked on; false leaves them combed but costs nothing.
    void set_enabled(bool enabled) { enabled_ = enabled; }

private:
    /// What a filter graph is built for.
    struct Shape {
        int width{0};
        int height{0};
        int format{AV_PIX_FMT_NONE};
        AVRational pixel_aspect{0, 1};
        bool operator==(const Shape& other) const;
    };

    struct GraphDeleter {
        const FilterLibrary* library;
        void operator()(AVFilterGraph* graph) const noexcept { library->graph_free(&graph); }
    };
    using FilterGraph = std::unique_ptr<AVFilterGraph, GraphDeleter>;

    static Shape shape_of(const AVFrame& picture);
    bool build(const Shape& shape);
    void receive(const Sink& sink);

    const FilterLibrary* library_{nullptr};             ///< for good, once it was needed
    FilterGraph graph_{nullptr, GraphDeleter{nullptr}}; ///< none while everything passes
    AVFilterContext* input_{nullptr};                   ///< owned by graph_
    AVFilterContext* output_{nullptr};                  ///< owned by graph_
    Shape shape_;
    bool enabled_{true};
};

} // namespace velmora
