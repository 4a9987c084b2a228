// Converters: opened, driven block by block, asked where they stand.
#include "qv/resample.h"

#include "audio/resample/opening.h"
#include "audio/resample/sinc.h"

#include "qv/audio_kernels.h"
#include "qv/filter.h"

#include <cmath>
#include <cstring>
#include <vector>

using namespace qv::audio;

struct QVRESAMPLE {
  QVSAMPLETYPE type;
  DWORD channels;
  DWORD flags;
  Timeline timeline;
  LinearKernel linear;
  LoadFrames load;
  bool has_filter = false;
  CQvIIR filter;
  SincBank bank;
  DWORD history_frames;
  std::vector<double> history; ///< interleaved, the last frame last
  ULONGLONG source_position = 0;
  ULONGLONG destination_position = 0;
  ULONGLONG source_offset = 0;
  ULONGLONG destination_offset = 0;

  size_t frame_bytes() const { return size_t{channels} * QvAudio_BytesFromSampleType(type); }
  DWORD quality() const { return flags & QVRESAMPLE_QUALITY_MASK; }
  bool is_driven_by_output() const { return (flags & QVRESAMPLE_OUTPUT_DRIVEN) != 0; }
  bool is_sinc() const { return quality() == QVRESAMPLE_SINC; }
  bool is_copy() const { return !timeline.is_rising() && !timeline.is_falling(); }
  /// Whether its quality is one that does not exist; equal rates need none.
  bool makes_nothing() const { return quality() > QVRESAMPLE_SINC && !is_copy(); }

  DWORD process(void* dst, void* src, DWORD count);
  void convert(void* dst, DWORD frames, void* src, DWORD readable, DWORD counted);
  void keep_history(const void* src, DWORD counted);
};

namespace {

constexpr DWORD kLinearHistory = 2;
constexpr DWORD kUnserved = 0xFFFFFFFF;

bool is_floating(QVSAMPLETYPE type) { return type == QVSAMPLE_FLOAT32 || type == QVSAMPLE_FLOAT64; }

/// Returns the flags that a converter works with: integer types have neither the sinc nor a low-pass.
DWORD usable_flags(QVSAMPLETYPE type, DWORD flags) {
  const bool asks = (flags & QVRESAMPLE_QUALITY_MASK) == QVRESAMPLE_SINC || (flags & QVRESAMPLE_LOWPASS_MASK) != 0;
  if (is_floating(type) || !asks) return flags;
  return (flags & ~DWORD{QVRESAMPLE_QUALITY_MASK | QVRESAMPLE_LOWPASS_MASK}) | QVRESAMPLE_FILTERED;
}

DWORD lowpass_order(DWORD flags) {
  switch (flags & QVRESAMPLE_LOWPASS_MASK) {
  case QVRESAMPLE_LOWPASS2: return 2;
  case QVRESAMPLE_LOWPASS4: return 4;
  case QVRESAMPLE_LOWPASS6: return 6;
  default: return 0;
  }
}

HRESULT set_up(QVRESAMPLE& converter, QVSAMPLETYPE type, DWORD src_rate, DWORD dst_rate, DWORD channels, DWORD flags) {
  if (src_rate == 0 || dst_rate == 0 || channels == 0 || !linear_kernel(type)) return E_INVALIDARG;
  converter.type = type;
  converter.channels = channels;
  converter.flags = usable_flags(type, flags);
  converter.timeline = Timeline(src_rate, dst_rate);
  converter.linear = linear_kernel(type);
  converter.load = load_frames(type);
  if (const DWORD order = lowpass_order(converter.flags); order != 0) {
    const double ratio = converter.timeline.ratio();
    const HRESULT result = converter.filter.Design(QVIIR_LOWPASS, QVIIR_CHEBYSHEV, order,
                                                   ratio < 1.0 ? 0.5 * ratio : 0.5 / ratio, 0.0, 0.0, channels, 0);
    if (FAILED(result)) return result;
    converter.has_filter = true;
  }
  if (converter.is_sinc()) converter.bank = SincBank(converter.timeline);
  converter.history_frames = converter.is_sinc() ? kSincHistory : kLinearHistory;
  converter.history.resize(size_t{converter.history_frames} * channels);
  return S_OK;
}

} // namespace

// ---- process ------------------------------------------------------------------------------------------------------

/// Keeps the last frames that are counted: they stand before the next block.
void QVRESAMPLE::keep_history(const void* src, DWORD counted) {
  const DWORD fresh = std::min(counted, history_frames);
  const size_t kept = size_t{history_frames - fresh} * channels;
  std::memmove(history.data(), history.data() + size_t{fresh} * channels, kept * sizeof(double));
  load(history.data() + kept, static_cast<const uint8_t*>(src) + size_t{counted - fresh} * frame_bytes(),
       size_t{fresh} * channels);
}

void QVRESAMPLE::convert(void* dst, DWORD frames, void* src, DWORD readable, DWORD counted) {
  if (has_filter && timeline.is_falling() && quality() >= QVRESAMPLE_FILTERED) {
    if (type == QVSAMPLE_FLOAT32)
      filter.ProcessFloat(static_cast<float*>(src), static_cast<const float*>(src), readable, 0);
    else
      filter.ProcessDouble(static_cast<double*>(src), static_cast<const double*>(src), readable, 0);
  }
  const ResampleBlock block = {static_cast<uint8_t*>(dst),
                               frames,
                               static_cast<const uint8_t*>(src),
                               readable,
                               channels,
                               &timeline,
                               history.data(),
                               history_frames};
  if (is_sinc())
    run_sinc(block, type, bank);
  else
    linear(block);
  keep_history(src, counted);
  timeline.advance(frames, counted);
}

DWORD QVRESAMPLE::process(void* dst, void* src, DWORD count) {
  if (count == 0 || makes_nothing()) return 0;
  DWORD frames = count;
  DWORD counted = count;
  if (is_copy()) {
    if (dst != src) std::memcpy(dst, src, size_t{count} * frame_bytes());
  } else {
    DWORD readable = count;
    if (is_driven_by_output()) {
      counted = timeline.counted_for(count);
      readable = timeline.read_for(count);
    } else {
      frames = timeline.frames_from(count);
    }
    convert(dst, frames, src, readable, counted);
  }
  source_position += counted;
  destination_position += frames;
  return frames;
}

// ---- interface ----------------------------------------------------------------------------------------------------

HRESULT QvAudio_ResampleOpen(HQVRESAMPLE* handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate, DWORD channels,
                             DWORD flags) {
  const auto fill = [=](QVRESAMPLE& made) { return set_up(made, type, srcRate, dstRate, channels, flags); };
  return open_converter(handle, fill);
}

HRESULT QvAudio_ResampleOpenEx(HQVRESAMPLE* handle, const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat,
                               DWORD flags) {
  const FormatPair pair(dstFormat, srcFormat);
  return QvAudio_ResampleOpen(handle, pair.type, pair.src_rate, pair.dst_rate, pair.channels, flags);
}

HRESULT QvAudio_ResampleReset(HQVRESAMPLE handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate, DWORD channels,
                              DWORD flags) {
  const auto open = [=](HQVRESAMPLE* made) {
    return QvAudio_ResampleOpen(made, type, srcRate, dstRate, channels, flags);
  };
  return renew(handle, open);
}

HRESULT QvAudio_ResampleResetEx(HQVRESAMPLE handle, const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat,
                                DWORD flags) {
  const FormatPair pair(dstFormat, srcFormat);
  return QvAudio_ResampleReset(handle, pair.type, pair.src_rate, pair.dst_rate, pair.channels, flags);
}

void QvAudio_ResampleClose(HQVRESAMPLE handle) { delete handle; }

DWORD QvAudio_ResampleEx(HQVRESAMPLE handle, void* dst, void* src, DWORD count) {
  return handle ? handle->process(dst, src, count) : 0;
}

HRESULT QvAudio_Resample(const WAVEFORMATEX* format, void* dst, DWORD dstFrames, void* src, DWORD srcFrames) {
  if (!format || srcFrames == 0) return S_OK;
  const ULONGLONG rate = ULONGLONG{format->nSamplesPerSec} * dstFrames / srcFrames;
  if (rate > 0xFFFFFFFF) return S_OK;
  HQVRESAMPLE converter = nullptr;
  QvAudio_ResampleOpen(&converter, QvAudio_GetSampleType(format), format->nSamplesPerSec, static_cast<DWORD>(rate),
                       format->nChannels, QVRESAMPLE_FILTERED | QVRESAMPLE_LOWPASS4);
  QvAudio_ResampleEx(converter, dst, src, srcFrames);
  QvAudio_ResampleClose(converter);
  return S_OK;
}

DWORD QvAudio_ResampleStupid(HQVRESAMPLE handle, void* dst, DWORD dstFrames, const void* src, DWORD srcFrames) {
  if (!handle || !handle->linear) return kUnserved;
  if (dstFrames == srcFrames) {
    if (dst != src) std::memcpy(dst, src, size_t{srcFrames} * handle->frame_bytes());
    return dstFrames;
  }
  if (dstFrames == 0 || srcFrames == 0) return 0;
  const Timeline fitted(srcFrames, dstFrames);
  handle->linear({static_cast<uint8_t*>(dst), dstFrames, static_cast<const uint8_t*>(src), srcFrames, handle->channels,
                  &fitted, nullptr, 0});
  return dstFrames;
}

DWORD QvAudio_Resample_Sinc(QVSAMPLETYPE type, DWORD channels, void* dst, DWORD dstFrames, const void* src,
                            DWORD srcFrames, HQVRESAMPLE handle) {
  if (!handle || !handle->is_sinc() || handle->type != type || handle->channels != channels) return 0;
  const DWORD readable = srcFrames + (handle->is_driven_by_output() && handle->timeline.is_rising() ? 1 : 0);
  run_sinc({static_cast<uint8_t*>(dst), dstFrames, static_cast<const uint8_t*>(src), readable, channels,
            &handle->timeline, handle->history.data(), handle->history_frames},
           type, handle->bank);
  handle->keep_history(src, srcFrames);
  handle->timeline.advance(dstFrames, srcFrames);
  return dstFrames;
}

ULONGLONG QvAudio_ResampleGetSrcPos(HQVRESAMPLE handle) { return handle->source_position + handle->source_offset; }

ULONGLONG QvAudio_ResampleGetDstPos(HQVRESAMPLE handle) {
  return handle->destination_position + handle->destination_offset;
}

void QvAudio_ResampleSetSrcPos(HQVRESAMPLE handle, ULONGLONG position) { handle->source_position = position; }
void QvAudio_ResampleSetDstPos(HQVRESAMPLE handle, ULONGLONG position) { handle->destination_position = position; }
void QvAudio_ResampleSetSrcOffset(HQVRESAMPLE handle, ULONGLONG offset) { handle->source_offset = offset; }
void QvAudio_ResampleSetDstOffset(HQVRESAMPLE handle, ULONGLONG offset) { handle->destination_offset = offset; }

DWORD QvAudio_ResampleGetDstFromSrc(HQVRESAMPLE handle, DWORD frames) {
  const double told = frames * handle->timeline.ratio() - handle->timeline.phase();
  return static_cast<DWORD>(std::clamp(told, 0.0, 4294967295.0));
}

DWORD QvAudio_ResampleGetExactDstFromSrc(HQVRESAMPLE handle, DWORD frames) {
  if (frames == 0 || handle->makes_nothing()) return 0;
  return handle->is_copy() ? frames : handle->timeline.frames_from(frames);
}

DWORD QvAudio_ResampleGetSrcFromDst(HQVRESAMPLE handle, DWORD frames) {
  const Timeline& timeline = handle->timeline;
  const auto whole = static_cast<int64_t>(frames * timeline.inverse() + timeline.phase() + kAlmostHalf);
  return static_cast<DWORD>(std::max<int64_t>(whole + (timeline.is_rising() ? 1 : 0), 0));
}

DWORD QvAudio_ResampleGetExactSrcFromDst(HQVRESAMPLE handle, DWORD frames) {
  return handle->is_copy() ? frames : frames == 0 ? 0 : handle->timeline.read_for(frames);
}

void QvAudio_ResampleStuffPrevSample(HQVRESAMPLE handle, double first, double second) {
  double* const last = handle->history.data() + size_t{handle->history_frames - 1} * handle->channels;
  last[0] = first;
  if (handle->channels > 1) last[1] = second;
}
