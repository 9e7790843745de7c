// libavfilter, loaded when the first picture needs it.
#pragma once

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace velmora {

/// The functions of libavfilter that the engine uses. The library brings dozens of others along, some 20 MB
/// and many milliseconds of start-up that most streams never need.
struct FilterLibrary {
    decltype(&avfilter_graph_alloc) graph_alloc{nullptr};
    decltype(&avfilter_graph_free) graph_free{nullptr};
    decltype(&avfilter_get_by_name) get_by_name{nullptr};
    decltype(&avfilter_graph_create_filter) graph_create_filter{nullptr};
    decltype(&avfilter_link) link{nullptr};
    decltype(&avfilter_graph_config) graph_config{nullptr};
    decltype(&av_buffersrc_add_frame) buffersrc_add_frame{nullptr};
    decltype(&av_buffersink_get_frame) buffersink_get_frame{nullptr};
    decltype(&av_buffersink_get_time_base) buffersink_get_time_base{nullptr};

    /// Loads it with the first call; it stays loaded. Any thread.
    /// @return null when it is not there, said once
    static const FilterLibrary* get();
};

} // namespace velmora
