// How converters of both generations are opened, between rates or formats, and begin anew.
#pragma once

#include "qv/audio.h"
#include "qv/result.h"

#include <exception>
#include <memory>
#include <utility>

namespace qv::audio {

/// What two formats between which is converted agree in, and their rates; rates of 0 where they do not agree.
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

/// Makes a converter, which set_up(converter) fills: that returns a result, and may throw. The handle is null when it
/// fails.
template <class Converter, class SetUp>
HRESULT open_converter(Converter** handle, SetUp set_up) {
  if (!handle) return E_INVALIDARG;
  *handle = nullptr;
  try {
    auto made = std::make_unique<Converter>();
    const HRESULT result = set_up(*made);
    if (SUCCEEDED(result)) *handle = made.release();
    return result;
  } catch (const std::exception&) { // no memory, or more than there can be
    return E_OUTOFMEMORY;
  }
}

/// Replaces what is behind a handle by what open(&made) makes; a failure changes nothing.
template <class Converter, class Open>
HRESULT renew(Converter* handle, Open open) {
  if (!handle) return E_INVALIDARG;
  Converter* made = nullptr;
  const HRESULT result = open(&made);
  if (FAILED(result)) return result;
  *handle = std::move(*made);
  delete made;
  return S_OK;
}

} // namespace qv::audio
