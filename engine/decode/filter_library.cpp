#include "decode/filter_library.h"

#include "diagnostics/log.h"

#include <dlfcn.h>
#include <optional>
#include <string>

extern "C" {
#include <libavutil/macros.h>
}

namespace velmora {

namespace {

constexpr const char* library_name = "libavfilter.so." AV_STRINGIFY(LIBAVFILTER_VERSION_MAJOR);

template <class Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

std::optional<FilterLibrary> load() {
    void* const library = ::dlopen(library_name, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    FilterLibrary functions;
    const bool is_complete = library != nullptr &&
                             find(library, "avfilter_graph_alloc", functions.graph_alloc) &&
                             find(library, "avfilter_graph_free", functions.graph_free) &&
                             find(library, "avfilter_get_by_name", functions.get_by_name) &&
                             find(library, "avfilter_graph_create_filter", functions.graph_create_filter) &&
                             find(library, "avfilter_link", functions.link) &&
                             find(library, "avfilter_graph_config", functions.graph_config) &&
                             find(library, "av_buffersrc_add_frame", functions.buffersrc_add_frame) &&
                             find(library, "av_buffersink_get_frame", functions.buffersink_get_frame) &&
                             find(library, "av_buffersink_get_time_base", functions.buffersink_get_time_base);
    if (library != nullptr) {
        ::dlclose(library); // it stays, as was asked for
    }
    if (!is_complete) {
        log_incident("video", "deinterlacer",
                     std::string{library_name} + " cannot be used, pictures stay combed");
        return std::nullopt;
    }
    return functions;
}

} // namespace

const FilterLibrary* FilterLibrary::get() {
    static const std::optional<FilterLibrary> library = load();
    return library ? &*library : nullptr;
}

} // namespace velmora
