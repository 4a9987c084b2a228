// What two formats between which is converted agree in.
#pragma once

#include "qv/audio.h"

namespace qv::audio {

/// Rates of 0 where they do not.
struct FormatPair {
  QVSAMPLETYPE type{};
  DWORD src_rate = 0;
  DWORD dst_rate = 0;
  DWORD channels = 0;

  FormatPair(const WAVEFORMATEX* dst, const WAVEFORMATEX* src) {
    if (!dst || !src) return;
    type = QvAudio_GetSampleType(src);
    if (QvAudio_GetSampleType(dst) != type || dst->nChannels != src->nChannels) return;
    src_rate = src->nSamplesPerSec;
    dst_rate = dst->nSamplesPerSec;
    channels = src->nChannels;
  }
};

} // namespace qv::audio
