#include "bench/audio/groups.h"

#include <cstdlib>
#include <cstring>
#include <string>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
}

namespace bench {
namespace {

constexpr int kRate = 48000;

/// A graph from planar stereo floats to the same.
struct Graph {
  AVFilterGraph* graph = avfilter_graph_alloc();
  AVFilterContext* source = nullptr;
  AVFilterContext* sink = nullptr;
  AVFrame* input = av_frame_alloc();
  AVFrame* output = av_frame_alloc();

  ~Graph() {
    av_frame_free(&input);
    av_frame_free(&output);
    avfilter_graph_free(&graph);
  }

  bool connect(const std::string& filters) {
    graph->nb_threads = 1; // otherwise a thread for each channel
    const char* const from = "sample_rate=48000:sample_fmt=fltp:channel_layout=stereo:time_base=1/48000";
    if (avfilter_graph_create_filter(&source, avfilter_get_by_name("abuffer"), "in", from, nullptr, graph) < 0 ||
        avfilter_graph_create_filter(&sink, avfilter_get_by_name("abuffersink"), "out", nullptr, nullptr, graph) < 0)
      return false;
    AVFilterInOut* ends[2] = {avfilter_inout_alloc(), avfilter_inout_alloc()};
    ends[0]->name = strdup("in");
    ends[0]->filter_ctx = source;
    ends[1]->name = strdup("out");
    ends[1]->filter_ctx = sink;
    const bool made = avfilter_graph_parse_ptr(graph, filters.c_str(), &ends[1], &ends[0], nullptr) >= 0 &&
                      avfilter_graph_config(graph, nullptr) >= 0;
    avfilter_inout_free(&ends[0]);
    avfilter_inout_free(&ends[1]);
    return made;
  }

  bool fill(DWORD frames, const float* samples) {
    input->format = AV_SAMPLE_FMT_FLTP;
    input->sample_rate = kRate;
    input->nb_samples = static_cast<int>(frames);
    av_channel_layout_default(&input->ch_layout, 2);
    if (av_frame_get_buffer(input, 0) < 0) return false;
    for (int channel = 0; channel < 2; ++channel)
      for (DWORD k = 0; k < frames; ++k)
        reinterpret_cast<float*>(input->data[channel])[k] = samples[2 * k + static_cast<DWORD>(channel)];
    return true;
  }

  void run() {
    if (av_buffersrc_add_frame_flags(source, input, AV_BUFFERSRC_FLAG_KEEP_REF) < 0) std::abort();
    if (av_buffersink_get_frame(sink, output) < 0) std::abort();
    av_frame_unref(output);
  }
};

} // namespace

Conversion avfilter_lowpass(DWORD sections, DWORD frames, Buffer from) {
  auto graph = std::make_shared<Graph>();
  std::string filters;
  for (DWORD k = 0; k < sections; ++k)
    filters += std::string(k == 0 ? "" : ",") + "lowpass=f=4800:p=2";
  if (!graph->connect(filters) || !graph->fill(frames, reinterpret_cast<const float*>(from->data()))) return nullptr;
  return [=] { graph->run(); };
}

} // namespace bench
