// The streaming resamplers, given any pieces: they take and make what they say they need, end exactly where the source
// ends, and full scale stays near full scale, also over changes of the rates.
// Sources: audio/resample audio/filter audio/kernels
#include "fuzz/audio/samples.h"

#include "qv/resample.h"

using namespace fuzz;

namespace {

constexpr DWORD kMostSamples = 20'000; ///< of a call
constexpr int kMostCalls = 24;
/// Above what an impulse response of the interpolations and low-passes sums up to.
constexpr double kBound = 32.0;

/// Rates that are allowed, but not so far apart that a call takes long.
bool are_near(DWORD a, DWORD b) {
  constexpr uint64_t kFactor = 48;
  return a != 0 && b != 0 && a <= kFactor * b && b <= kFactor * a;
}

class Stream {
public:
  Stream(Choices& choices, HQVRESAMPLE2 handle, QVSAMPLETYPE type, DWORD channels)
      : choices_(choices), handle_(handle), type_(type), channels_(channels) {}

  uint64_t taken() const { return taken_; }
  uint64_t made() const { return made_; }

  /// A piece of any size with any room.
  void give_piece() {
    const auto frames = choices_.ConsumeIntegralInRange<DWORD>(0, 400);
    process(frames, choices_.ConsumeIntegralInRange<DWORD>(0, 400), false);
  }

  /// As many frames as are said to be needed for so many: one less does not do.
  void give_needed() {
    const auto wanted = choices_.ConsumeIntegralInRange<DWORD>(0, 400);
    const DWORD needed = QvAudio_Resample2GetSrcFromDst(handle_, wanted);
    if (needed > kMostSamples / channels_) return;
    const DWORD first = process(needed == 0 ? 0 : needed - 1, wanted, false);
    require((first == wanted) == (needed == 0));
    if (needed != 0) require(first + process(1, wanted - first, false) == wanted);
  }

  /// All that is left.
  void flush() {
    while (process(0, choices_.ConsumeIntegralInRange<DWORD>(1, 400), true) != 0) {
    }
    DWORD written = 0;
    DWORD used = 0;
    const uint64_t frame[34] = {};
    require(QvAudio_Resample2Process(handle_, nullptr, 0, &written, frame, 1, &used) == E_INVALIDARG);
  }

private:
  DWORD process(DWORD frames, DWORD room, bool is_flush) {
    const Bytes src = signal_bytes(choices_, type_, size_t{frames} * channels_);
    Bytes dst(size_t{room} * channels_ * QvAudio_BytesFromSampleType(type_));
    uint8_t none = 0;
    void* const to = dst.empty() ? &none : dst.data();
    const void* const from = is_flush ? nullptr : frames == 0 ? &none : src.data();
    DWORD written = 0xFFFFFFFF;
    DWORD used = 0xFFFFFFFF;
    require(QvAudio_Resample2Process(handle_, to, room, &written, from, frames, &used) == S_OK);
    require(written <= room && used <= frames && (is_flush || written == room || used == frames));
    require_within(kBound, type_, dst);
    taken_ += used;
    made_ += written;
    require(QvAudio_Resample2GetSrcPos(handle_) == taken_ && QvAudio_Resample2GetDstPos(handle_) == made_);
    return written;
  }

  Choices& choices_;
  HQVRESAMPLE2 handle_;
  QVSAMPLETYPE type_;
  DWORD channels_;
  uint64_t taken_ = 0;
  uint64_t made_ = 0;
};

void run(Choices& choices, HQVRESAMPLE2 handle, QVSAMPLETYPE type, DWORD channels, DWORD src_rate, DWORD dst_rate) {
  Stream stream(choices, handle, type, channels);
  bool same_rates = true;
  for (int call = 0; call < kMostCalls && choices.remaining_bytes() > 0; ++call) {
    const auto kind = choices.ConsumeIntegralInRange<int>(0, 8);
    if (kind == 8) {
      const DWORD next_src = choose_rate(choices);
      const DWORD next_dst = choose_rate(choices);
      if (!are_near(next_src, next_dst)) continue;
      require(QvAudio_Resample2SetRates(handle, next_src, next_dst) == S_OK);
      same_rates = false;
    } else if (kind >= 5) {
      stream.give_needed();
    } else {
      stream.give_piece();
    }
  }
  stream.flush();
  // Rounded, half a frame up.
  if (same_rates) require(stream.made() == (2 * stream.taken() * dst_rate + src_rate) / (2 * uint64_t{src_rate}));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Choices choices(data, size);
  const QVSAMPLETYPE type = choose_type(choices);
  const auto quality = static_cast<QVRESAMPLE2_QUALITY>(choices.ConsumeIntegralInRange<int>(0, 4));
  const auto channels = choices.ConsumeIntegralInRange<DWORD>(0, 34);
  const DWORD src_rate = choose_rate(choices);
  const DWORD dst_rate = choose_rate(choices);
  HQVRESAMPLE2 handle = nullptr;
  const bool is_refused = channels == 0 || src_rate == 0 || dst_rate == 0 || quality > QVRESAMPLE2_BEST;
  if (!is_refused && !are_near(src_rate, dst_rate)) return 0;
  require(QvAudio_Resample2Open(&handle, type, src_rate, dst_rate, channels, quality) ==
          (is_refused ? E_INVALIDARG : S_OK));
  require((handle == nullptr) == is_refused);
  if (!is_refused) run(choices, handle, type, channels, src_rate, dst_rate);
  QvAudio_Resample2Close(handle);
  return 0;
}
