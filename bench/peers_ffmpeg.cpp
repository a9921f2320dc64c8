#include "bench/peers.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/avutil.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

namespace tarnwell::bench {

namespace {

void check(int status, const char* what) {
    if (status >= 0) return;
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(status, text, sizeof text);
    throw std::runtime_error(fmt::format("ffmpeg: {}: {}", what, text));
}

struct FreeGraph {
    void operator()(AVFilterGraph* graph) const { avfilter_graph_free(&graph); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
using Frame = std::unique_ptr<AVFrame, FreeFrame>;

constexpr std::size_t PLANE_ORDER[3] = {1, 2, 0}; // a frame's planes are green, blue and red

float* rowOf(const AVFrame& frame, std::size_t plane, int y) {
    return reinterpret_cast<float*>(frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane]);
}

// The planes as a frame of planar floats.
Frame frameOf(const Planes& planes, const Size& size) {
    Frame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    frame->format = AV_PIX_FMT_GBRPF32;
    frame->width = size.width;
    frame->height = size.height;
    check(av_frame_get_buffer(frame.get(), 0), "a frame");
    for (std::size_t p = 0; p < 3; ++p) {
        const float* row = planes[PLANE_ORDER[p]].data();
        for (int y = 0; y < size.height; ++y, row += size.width)
            std::copy(row, row + size.width, rowOf(*frame, p, y));
    }
    return frame;
}

AVFilterContext* add(AVFilterGraph* graph, const char* filter, const std::string& arguments) {
    AVFilterContext* context = nullptr;
    check(
        avfilter_graph_create_filter(&context, avfilter_get_by_name(filter), filter, arguments.c_str(), nullptr, graph),
        filter);
    return context;
}

// source -> lut3d -> sink, one thread.
class CubeGraph {
public:
    CubeGraph(const Planes& planes, const Size& size, const std::string& path)
        : graph(avfilter_graph_alloc()), input(frameOf(planes, size)), output(av_frame_alloc()) {
        if (!graph || !output) throw std::bad_alloc();
        graph->nb_threads = 1;
        source = add(graph.get(), "buffer",
                     fmt::format("video_size={}x{}:pix_fmt={}:time_base=1/24", size.width, size.height,
                                 static_cast<int>(AV_PIX_FMT_GBRPF32)));
        AVFilterContext* lut = add(graph.get(), "lut3d", "file=" + path + ":interp=tetrahedral");
        sink = add(graph.get(), "buffersink", "");
        check(avfilter_link(source, 0, lut, 0), "a link");
        check(avfilter_link(lut, 0, sink, 0), "a link");
        check(avfilter_graph_config(graph.get(), nullptr), "the graph");
    }

    // The input stays ours, so the filter writes to a frame of its own pool.
    void run() {
        av_frame_unref(output.get());
        input->pts = next++;
        check(av_buffersrc_add_frame_flags(source, input.get(), AV_BUFFERSRC_FLAG_KEEP_REF), "feeding");
        check(av_buffersink_get_frame(sink, output.get()), "the result");
        if (output->format != AV_PIX_FMT_GBRPF32) throw std::runtime_error("ffmpeg: the filter changed the format");
    }

    Planes result() const {
        Planes planes(3);
        for (std::size_t p = 0; p < 3; ++p) {
            for (int y = 0; y < output->height; ++y) {
                const float* row = rowOf(*output, p, y);
                planes[PLANE_ORDER[p]].insert(planes[PLANE_ORDER[p]].end(), row, row + output->width);
            }
        }
        return planes;
    }

private:
    std::unique_ptr<AVFilterGraph, FreeGraph> graph;
    Frame input;
    Frame output;
    AVFilterContext* source = nullptr;
    AVFilterContext* sink = nullptr;
    std::int64_t next = 0;
};

} // namespace

Facts ffmpegFacts() {
    return {{"ffmpeg", av_version_info()}};
}

Peer ffmpegCube(const Picture& picture, const std::string& path) {
    const auto graph = std::make_shared<CubeGraph>(picture.codes, picture.size, path);
    return {{[=] { graph->run(); }, {}}, [=] { return graph->result(); }};
}

} // namespace tarnwell::bench
