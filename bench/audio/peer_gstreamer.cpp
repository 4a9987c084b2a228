#include "bench/audio/groups.h"

#include <gst/audio/audio.h>

namespace bench {
namespace {

GstAudioFormat format_of(QVSAMPLETYPE type) {
  switch (type) {
  case QVSAMPLE_PCM8: return GST_AUDIO_FORMAT_U8;
  case QVSAMPLE_PCM16: return GST_AUDIO_FORMAT_S16LE;
  case QVSAMPLE_PCM24: return GST_AUDIO_FORMAT_S24LE;
  case QVSAMPLE_PCM32: return GST_AUDIO_FORMAT_S32LE;
  case QVSAMPLE_FLOAT32: return GST_AUDIO_FORMAT_F32LE;
  case QVSAMPLE_FLOAT64: return GST_AUDIO_FORMAT_F64LE;
  case QVSAMPLE_BE16: return GST_AUDIO_FORMAT_S16BE;
  case QVSAMPLE_BE24: return GST_AUDIO_FORMAT_S24BE;
  case QVSAMPLE_BE32: return GST_AUDIO_FORMAT_S32BE;
  default: return GST_AUDIO_FORMAT_UNKNOWN;
  }
}

} // namespace

Conversion gstreamer_conversion(QVSAMPLETYPE dst, QVSAMPLETYPE src, Buffer to, Buffer from, size_t frames) {
  if (format_of(dst) == GST_AUDIO_FORMAT_UNKNOWN || format_of(src) == GST_AUDIO_FORMAT_UNKNOWN) return nullptr;
  gst_init(nullptr, nullptr);
  GstAudioInfo in, out;
  gst_audio_info_set_format(&in, format_of(src), 48000, 2, nullptr);
  gst_audio_info_set_format(&out, format_of(dst), 48000, 2, nullptr);
  // No dither: the same work as ours.
  GstStructure* options = gst_structure_new("options", GST_AUDIO_CONVERTER_OPT_DITHER_METHOD,
                                            GST_TYPE_AUDIO_DITHER_METHOD, GST_AUDIO_DITHER_NONE, nullptr);
  const std::shared_ptr<GstAudioConverter> converter(
      gst_audio_converter_new(GST_AUDIO_CONVERTER_FLAG_NONE, &in, &out, options), gst_audio_converter_free);
  if (!converter) return nullptr;
  return [=] {
    gpointer source[] = {from->data()};
    gpointer target[] = {to->data()};
    gst_audio_converter_samples(converter.get(), GST_AUDIO_CONVERTER_FLAG_NONE, source, frames, target, frames);
  };
}

} // namespace bench
