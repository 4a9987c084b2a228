#include "bench/audio/groups.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

namespace bench {
namespace {

AVSampleFormat format_of(QVSAMPLETYPE type) {
  switch (type) {
  case QVSAMPLE_PCM8: return AV_SAMPLE_FMT_U8;
  case QVSAMPLE_PCM16: return AV_SAMPLE_FMT_S16;
  case QVSAMPLE_PCM32: return AV_SAMPLE_FMT_S32;
  case QVSAMPLE_FLOAT32: return AV_SAMPLE_FMT_FLT;
  case QVSAMPLE_FLOAT64: return AV_SAMPLE_FMT_DBL;
  default: return AV_SAMPLE_FMT_NONE;
  }
}

} // namespace

Conversion swresample_conversion(QVSAMPLETYPE dst, QVSAMPLETYPE src, Buffer to, Buffer from, size_t frames) {
  if (format_of(dst) == AV_SAMPLE_FMT_NONE || format_of(src) == AV_SAMPLE_FMT_NONE) return nullptr;
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  SwrContext* context = nullptr;
  swr_alloc_set_opts2(&context, &stereo, format_of(dst), 48000, &stereo, format_of(src), 48000, 0, nullptr);
  if (!context || swr_init(context) < 0) return nullptr;
  const std::shared_ptr<SwrContext> owner(context, [](SwrContext* c) { swr_free(&c); });
  return [=] {
    uint8_t* out[] = {to->data()};
    const uint8_t* in[] = {from->data()};
    swr_convert(owner.get(), out, static_cast<int>(frames), in, static_cast<int>(frames));
  };
}

} // namespace bench
