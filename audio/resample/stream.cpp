// Streaming converters: frames wait as doubles until all that an output looks at are there.
#include "audio/resample/block.h"
#include "audio/resample/opening.h"
#include "audio/resample/soxr_filter.h"
#include "audio/resample/tap_rows.h"
#include "audio/resample/weight_rows.h"

#include "qv/audio_kernels.h"
#include "qv/filter.h"
#include "qv/resample.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

using namespace qv::audio;

namespace {

constexpr DWORD kChunkFrames = 256;        ///< taken or made at a time
constexpr DWORD kSpare = 3 * kChunkFrames; ///< room, so that frames that wait are seldom moved
constexpr DWORD kMaxRatio = 4096;
static_assert(kChunkFrames <= SoxrFilter::kMaxFrames && kChunkFrames + kSpare <= SoxrFilter::kMaxSpare / 2);

} // namespace

struct QVRESAMPLE2 {
  QVSAMPLETYPE type;
  DWORD channels;
  QVRESAMPLE2_QUALITY quality;
  Timeline timeline; ///< its source frame 0 is the first that waits
  TapRows rows;
  std::unique_ptr<SoxrFilter> soxr; ///< makes the frames in place of the rows, or null
  bool has_filter = false;
  CQvIIR filter;
  LoadFrames load;
  QVAUDIO_COPYFUNC store;
  Product* sum_of_products;

  DWORD capacity;              ///< frames that there is room for
  DWORD waiting;               ///< frames that are there
  std::vector<double> frames;  ///< those that wait, one channel after the other
  std::vector<double> chunk;   ///< interleaved frames on their way in or out
  std::vector<double> own_row; ///< the row in use, where there is no table of rows
  bool is_flushing = false;
  DWORD end = 0; ///< while flushing: where the padding begins
  ULONGLONG taken = 0;
  ULONGLONG made = 0;

  /// Doubles of a channel in `frames`: behind its last frame there is room for the zeros of a row.
  size_t line_size() const { return size_t{capacity} + 8; }
  double* line(DWORD channel) { return frames.data() + channel * line_size(); }
  const double* line(DWORD channel) const { return frames.data() + channel * line_size(); }
  /// Source frames behind an output that it waits for.
  DWORD ahead() const { return soxr ? soxr->ahead() : rows.ahead(); }

  HRESULT set_up(QVSAMPLETYPE new_type, DWORD src_rate, DWORD dst_rate, DWORD new_channels,
                 QVRESAMPLE2_QUALITY new_quality, const QVRESAMPLE2* old);
  void take_over(const QVRESAMPLE2& old);
  uint64_t ready() const;
  void make(uint8_t* dst, DWORD count);
  void discard();
  DWORD take(const uint8_t* src, DWORD count);
  void pad();
  void append(DWORD count);
};

/// Makes it ready; `old` is the converter that it goes on from, or null.
HRESULT QVRESAMPLE2::set_up(QVSAMPLETYPE new_type, DWORD src_rate, DWORD dst_rate, DWORD new_channels,
                            QVRESAMPLE2_QUALITY new_quality, const QVRESAMPLE2* old) {
  if (src_rate == 0 || dst_rate == 0 || new_channels == 0 || new_quality > QVRESAMPLE2_BEST) return E_INVALIDARG;
  if (src_rate / kMaxRatio > dst_rate || dst_rate / kMaxRatio > src_rate) return E_INVALIDARG;
  load = load_frames(new_type);
  if (!load) return E_INVALIDARG;
  type = new_type;
  channels = new_channels;
  quality = new_quality;
  store = QvAudio_GetCopyFunction2(type, QVSAMPLE_FLOAT64);
  sum_of_products = at_level<Product>({QV_LEVELS_OF(product)});
  timeline = Timeline(src_rate, dst_rate);
  if (old && old->timeline.position(0).part != 0) timeline.refine();
  rows = TapRows(quality, timeline);
  if (quality == QVRESAMPLE2_BEST && !old) soxr = SoxrFilter::make(timeline, channels);
  if (!soxr) rows.make_table();
  const bool filters = quality == QVRESAMPLE2_FILTERED || quality == QVRESAMPLE2_SINC;
  if (filters && timeline.is_falling()) {
    const DWORD order = quality == QVRESAMPLE2_SINC ? 6 : 4;
    const HRESULT result =
        filter.Design(QVIIR_LOWPASS, QVIIR_CHEBYSHEV, order, 0.5 * timeline.ratio(), 0.0, 0.0, channels, 0);
    if (FAILED(result)) return result;
    has_filter = true;
  }
  capacity = rows.before() + ahead() + static_cast<DWORD>(timeline.inverse()) + 2 + kChunkFrames + kSpare +
             (old ? old->waiting : 0);
  frames.resize(channels * line_size());
  chunk.resize(size_t{kChunkFrames} * channels);
  own_row.resize(rows.row_size());
  waiting = rows.before(); // silence before the first frame
  timeline.move_to(waiting, 0.0);
  return S_OK;
}

/// Takes over from another converter what waits in it, for which there is room, and where its next output stands.
void QVRESAMPLE2::take_over(const QVRESAMPLE2& old) {
  const SourcePosition next = old.timeline.position(0);
  // Of the frames before the next output, which may stand behind all that wait, those are kept that are looked at.
  const auto until = std::min<int64_t>(next.frame, old.waiting);
  const auto back = std::min<int64_t>(until, rows.before());
  const auto first = static_cast<DWORD>(until - back);
  const DWORD kept = old.waiting - first;
  const auto silent = static_cast<DWORD>(rows.before() - back);
  for (DWORD channel = 0; channel < channels; ++channel)
    std::memcpy(line(channel) + silent, old.line(channel) + first, sizeof(double) * kept);
  waiting = silent + kept;
  timeline.move_to(next.frame - first + silent,
                   static_cast<double>(next.part) / static_cast<double>(old.timeline.denominator()));
  taken = old.taken;
  made = old.made;
}

/// Returns how many outputs can be made: all frames that they look at are there, and they stand before the padding.
uint64_t QVRESAMPLE2::ready() const {
  const uint64_t in_front = timeline.outputs_before(int64_t{waiting} - ahead());
  return std::min(in_front, timeline.outputs_within(is_flushing ? end : waiting));
}

/// Makes the next `count` outputs, at most kChunkFrames.
void QVRESAMPLE2::make(uint8_t* dst, DWORD count) {
  if (soxr) {
    soxr->take(chunk.data(), count);
  } else {
    for (DWORD k = 0; k < count; ++k) {
      const SourcePosition at = timeline.position(k);
      const double* const row = rows.row(at.part, own_row.data());
      const auto first = static_cast<size_t>(at.frame - rows.before());
      for (DWORD channel = 0; channel < channels; ++channel)
        chunk[size_t{k} * channels + channel] = sum_of_products(line(channel) + first, row, rows.row_size());
    }
  }
  store(dst, chunk.data(), static_cast<LONG>(count * channels), 1.0f);
  timeline.advance(count, 0);
}

/// Drops frames that no output looks back to any more, once there is no room for another chunk.
void QVRESAMPLE2::discard() {
  if (capacity - waiting >= kChunkFrames) return;
  const int64_t needed_from = timeline.position(0).frame - rows.before();
  const auto count = static_cast<DWORD>(std::clamp<int64_t>(needed_from, 0, waiting));
  if (count == 0) return;
  for (DWORD channel = 0; channel < channels; ++channel)
    std::memmove(line(channel), line(channel) + count, sizeof(double) * (waiting - count));
  waiting -= count;
  end -= std::min(end, count);
  timeline.advance(0, count);
}

/// Puts the chunk's first `count` frames behind those that wait.
void QVRESAMPLE2::append(DWORD count) {
  if (soxr) soxr->give(chunk.data(), count);
  for (DWORD channel = 0; channel < channels; ++channel)
    for (DWORD k = 0; k < count; ++k)
      line(channel)[waiting + k] = chunk[size_t{k} * channels + channel];
  waiting += count;
}

/// Takes source frames in, and returns how many there was room for.
DWORD QVRESAMPLE2::take(const uint8_t* src, DWORD count) {
  count = std::min({count, kChunkFrames, capacity - waiting});
  load(chunk.data(), src, size_t{count} * channels);
  if (has_filter) filter.ProcessDouble(chunk.data(), chunk.data(), count, 0);
  append(count);
  taken += count;
  return count;
}

/// Puts a chunk behind the last frame: of silence, or for linear interpolation, which would fade towards silence, of
/// that frame again.
void QVRESAMPLE2::pad() {
  const DWORD count = std::min(kChunkFrames, capacity - waiting);
  const bool repeats = quality <= QVRESAMPLE2_FILTERED && waiting > 0;
  for (size_t sample = 0; sample < size_t{count} * channels; ++sample)
    chunk[sample] = repeats ? line(static_cast<DWORD>(sample % channels))[waiting - 1] : 0.0;
  append(count);
}

// ---- interface ----------------------------------------------------------------------------------------------------

HRESULT QvAudio_Resample2Open(HQVRESAMPLE2* handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate, DWORD channels,
                              QVRESAMPLE2_QUALITY quality) {
  const auto fill = [=](QVRESAMPLE2& made) { return made.set_up(type, srcRate, dstRate, channels, quality, nullptr); };
  return open_converter(handle, fill);
}

HRESULT QvAudio_Resample2OpenEx(HQVRESAMPLE2* handle, const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat,
                                QVRESAMPLE2_QUALITY quality) {
  const FormatPair pair(dstFormat, srcFormat);
  return QvAudio_Resample2Open(handle, pair.type, pair.src_rate, pair.dst_rate, pair.channels, quality);
}

HRESULT QvAudio_Resample2Reset(HQVRESAMPLE2 handle, QVSAMPLETYPE type, DWORD srcRate, DWORD dstRate, DWORD channels,
                               QVRESAMPLE2_QUALITY quality) {
  const auto open = [=](HQVRESAMPLE2* made) {
    return QvAudio_Resample2Open(made, type, srcRate, dstRate, channels, quality);
  };
  return renew(handle, open);
}

HRESULT QvAudio_Resample2ResetEx(HQVRESAMPLE2 handle, const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat,
                                 QVRESAMPLE2_QUALITY quality) {
  const FormatPair pair(dstFormat, srcFormat);
  return QvAudio_Resample2Reset(handle, pair.type, pair.src_rate, pair.dst_rate, pair.channels, quality);
}

void QvAudio_Resample2Close(HQVRESAMPLE2 handle) { delete handle; }

HRESULT QvAudio_Resample2SetRates(HQVRESAMPLE2 handle, DWORD srcRate, DWORD dstRate) {
  const auto go_on = [=](QVRESAMPLE2& made) {
    const QVRESAMPLE2& old = *handle;
    const HRESULT result = made.set_up(old.type, srcRate, dstRate, old.channels, old.quality, &old);
    if (SUCCEEDED(result)) made.take_over(old);
    return result;
  };
  const auto open = [=](HQVRESAMPLE2* renewed) { return open_converter(renewed, go_on); };
  return renew(handle, open);
}

HRESULT QvAudio_Resample2Process(HQVRESAMPLE2 handle, void* dst, DWORD dstCapacity, DWORD* written, const void* src,
                                 DWORD srcFrames, DWORD* used) {
  if (!handle || !dst || !written || !used) return E_INVALIDARG;
  *written = *used = 0;
  if (src && handle->is_flushing) return E_INVALIDARG;
  if (!src && !handle->is_flushing) {
    handle->is_flushing = true;
    handle->end = handle->waiting;
  }
  const size_t sample_bytes = QvAudio_BytesFromSampleType(handle->type);
  const size_t frame_bytes = sample_bytes * handle->channels;
  for (;;) {
    for (uint64_t ready = handle->ready(); *written < dstCapacity && ready > 0;) {
      const auto count = static_cast<DWORD>(std::min<uint64_t>({ready, dstCapacity - *written, kChunkFrames}));
      handle->make(static_cast<uint8_t*>(dst) + *written * frame_bytes, count);
      *written += count;
      ready -= count;
    }
    handle->discard();
    if (*written == dstCapacity) break;
    if (!src) {
      if (handle->timeline.outputs_within(handle->end) == 0) break;
      handle->pad();
    } else {
      if (*used == srcFrames) break;
      *used += handle->take(static_cast<const uint8_t*>(src) + *used * frame_bytes, srcFrames - *used);
    }
  }
  handle->made += *written;
  return S_OK;
}

DWORD QvAudio_Resample2GetLatency(HQVRESAMPLE2 handle) {
  const auto half_step = static_cast<DWORD>(std::ceil(handle->timeline.inverse() / 2.0));
  return std::max(handle->ahead() + 1, half_step);
}

ULONGLONG QvAudio_Resample2GetSrcPos(HQVRESAMPLE2 handle) { return handle->taken; }
ULONGLONG QvAudio_Resample2GetDstPos(HQVRESAMPLE2 handle) { return handle->made; }

DWORD QvAudio_Resample2GetSrcFromDst(HQVRESAMPLE2 handle, DWORD frames) {
  if (frames == 0) return 0;
  const Timeline& timeline = handle->timeline;
  const int64_t looked_at = timeline.position(frames - 1).frame + handle->ahead() + 1;
  const int64_t needed = std::max(looked_at, timeline.source_for(frames));
  return static_cast<DWORD>(std::clamp<int64_t>(needed - handle->waiting, 0, 0xFFFFFFFF));
}
