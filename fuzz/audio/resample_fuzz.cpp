// The first generation of resamplers, driven by input or output: it makes, reads and counts what it said before, in
// memory of exactly that size, and full scale stays near full scale.
// Sources: audio/resample audio/filter audio/kernels
#include "fuzz/audio/samples.h"

#include "qv/resample.h"

using namespace fuzz;

namespace {

constexpr DWORD kMostSamples = 40'000;
/// Above what an impulse response of the interpolations and low-passes sums up to.
constexpr double kBound = 32.0;

struct Setup {
  QVSAMPLETYPE type;
  DWORD src_rate, dst_rate, channels, flags;

  explicit Setup(Choices& choices)
      : type(choose_type(choices)), src_rate(choose_rate(choices)), dst_rate(choose_rate(choices)),
        channels(choices.ConsumeIntegralInRange<DWORD>(0, 34)), flags(choices.ConsumeIntegral<uint16_t>() & 0x1FFF) {}

  bool is_driven_by_output() const { return (flags & QVRESAMPLE_OUTPUT_DRIVEN) != 0; }
  size_t bytes(DWORD frames) const { return size_t{frames} * channels * QvAudio_BytesFromSampleType(type); }
};

/// One block; false when it would be too large.
bool convert(HQVRESAMPLE converter, const Setup& setup, Choices& choices) {
  const auto count = choices.ConsumeIntegralInRange<DWORD>(0, 300);
  const bool by_output = setup.is_driven_by_output();
  const DWORD read = by_output ? QvAudio_ResampleGetExactSrcFromDst(converter, count) : count;
  const DWORD made = by_output ? count : QvAudio_ResampleGetExactDstFromSrc(converter, count);
  if (read > kMostSamples / setup.channels || made > kMostSamples / setup.channels) return false;
  Bytes src = signal_bytes(choices, setup.type, size_t{read} * setup.channels);
  Bytes dst(setup.bytes(made));
  const ULONGLONG at_src = QvAudio_ResampleGetSrcPos(converter);
  const ULONGLONG at_dst = QvAudio_ResampleGetDstPos(converter);
  const DWORD written = QvAudio_ResampleEx(converter, dst.data(), src.data(), count);
  const bool has_quality = (setup.flags & QVRESAMPLE_QUALITY_MASK) <= QVRESAMPLE_SINC;
  if (!has_quality && written == 0) return false; // makes nothing, ever
  require(written == made && QvAudio_ResampleGetDstPos(converter) == at_dst + made);
  const ULONGLONG counted = QvAudio_ResampleGetSrcPos(converter) - at_src;
  require(by_output ? counted <= read && counted + 1 >= read : counted == read);
  require_within(kBound, setup.type, dst);
  return true;
}

/// A buffer that is fitted to another length, and one of averages.
void fit(HQVRESAMPLE converter, const Setup& setup, Choices& choices) {
  const auto src_frames = choices.ConsumeIntegralInRange<DWORD>(0, 300);
  const auto dst_frames = choices.ConsumeIntegralInRange<DWORD>(0, 300);
  const Bytes src = signal_bytes(choices, setup.type, size_t{src_frames} * setup.channels);
  Bytes dst(setup.bytes(dst_frames));
  if (src_frames != 0 && dst_frames != 0)
    require(QvAudio_ResampleStupid(converter, dst.data(), dst_frames, src.data(), src_frames) == dst_frames);
  require_within(1.0, setup.type, dst);
  const auto factor = choices.ConsumeIntegralInRange<DWORD>(0, 400);
  const DWORD averages = factor == 0 ? 0 : src_frames / factor;
  dst.assign(setup.bytes(averages), 0);
  require(QvDownSample(setup.type, setup.channels, dst.data(), src.data(), src_frames, factor) == averages);
  require_within(1.0, setup.type, dst);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Choices choices(data, size);
  const Setup setup(choices);
  HQVRESAMPLE converter = nullptr;
  const HRESULT result =
      QvAudio_ResampleOpen(&converter, setup.type, setup.src_rate, setup.dst_rate, setup.channels, setup.flags);
  const bool makes_sense = setup.src_rate != 0 && setup.dst_rate != 0 && setup.channels != 0;
  require(result == (makes_sense ? S_OK : E_INVALIDARG) && (converter != nullptr) == makes_sense);
  if (!makes_sense) return 0;
  for (int block = 0; block < 20 && choices.remaining_bytes() > 0 && convert(converter, setup, choices); ++block) {
  }
  fit(converter, setup, choices);
  QvAudio_ResampleClose(converter);
  return 0;
}
