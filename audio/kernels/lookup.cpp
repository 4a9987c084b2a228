// Copy and mix kernels for callers: one function per pair that runs on the level in force.
#include "audio/kernels/kernel_tables.h"

#include "qv/audio_kernels.h"

namespace qv::audio {
namespace {

#define QV_KERNELS_LISTED(level, name, ...) &kernels_##name,
constexpr LevelTable<const KernelTable> kLevels = {QV_KERNEL_LEVELS(QV_KERNELS_LISTED, )};

template <class Dst, class Src>
void copy_on_level(void* dst, const void* src, LONG count, float gain) {
  at_level(kLevels)->copy[Dst::index][Src::index](dst, src, count, gain);
}

template <class Dst, class Src>
void mix_on_level(void* dst, const void* src, LONG count, UINT channels, const double* gains) {
  at_level(kLevels)->mix[Dst::index][Src::index](dst, src, count, channels, gains);
}

constexpr KernelTable kOnLevel = {
    for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return copy_on_level<Dst, Src>; }),
    for_pairs<kMixedTypes>([]<class Dst, class Src>() { return mix_on_level<Dst, Src>; })};

/// Pairs for which a processor without these bits is handed the generic kernel.
struct VectorPair {
  QVSAMPLETYPE dst;
  QVSAMPLETYPE src;
  uint32_t needs;
};

constexpr VectorPair kVectorCopies[] = {
    {QVSAMPLE_PCM16, QVSAMPLE_FLOAT32, QVCPU_SSE2},
    {QVSAMPLE_FLOAT32, QVSAMPLE_PCM16, QVCPU_SSE2},
    {QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT64, QVCPU_SSE | QVCPU_SSE2},
    {QVSAMPLE_FLOAT64, QVSAMPLE_FLOAT32, QVCPU_SSE | QVCPU_SSE2},
};
constexpr VectorPair kVectorMixes[] = {{QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT32, QVCPU_SSE2}};

template <size_t kCount>
const KernelTable& table_for(const VectorPair (&pairs)[kCount], QVSAMPLETYPE dst, QVSAMPLETYPE src) {
  for (const VectorPair& pair : pairs) {
    if (pair.dst != dst || pair.src != src) continue;
    if ((QvGetCPUSupport(pair.needs) & pair.needs) != pair.needs) return kernels_generic;
  }
  return kOnLevel;
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

QVAUDIO_COPYFUNC QvAudio_GetCopyFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType) {
  return entry_of(table_for(kVectorCopies, dstType, srcType).copy, dstType, srcType);
}

QVAUDIO_COPYFUNC QvAudio_GetCopyFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return QvAudio_GetCopyFunction2(QvAudio_GetSampleType(dstFormat), QvAudio_GetSampleType(srcFormat));
}

QVAUDIO_MIXFUNC QvAudio_GetMixFunction2(QVSAMPLETYPE dstType, QVSAMPLETYPE srcType) {
  return entry_of(table_for(kVectorMixes, dstType, srcType).mix, dstType, srcType);
}

QVAUDIO_MIXFUNC QvAudio_GetMixFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return QvAudio_GetMixFunction2(QvAudio_GetSampleType(dstFormat), QvAudio_GetSampleType(srcFormat));
}

HRESULT QvAudio_Copy(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                     DWORD frames, float gain) {
  const uint64_t count = uint64_t{frames} * srcFormat->nChannels;
  if (count == 0) return S_OK;
  const auto kernel = QvAudio_GetCopyFunction(dstFormat, srcFormat);
  if (!kernel) return E_NOTIMPL;
  if (count > kMaxKernelCount) return E_INVALIDARG;
  kernel(dst, src, static_cast<LONG>(count), gain);
  return S_OK;
}

HRESULT QvAudio_Mix(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                    DWORD frames, const double* gains) {
  const uint64_t count = uint64_t{frames} * srcFormat->nChannels;
  if (count == 0) return S_OK;
  const auto kernel = QvAudio_GetMixFunction(dstFormat, srcFormat);
  if (!kernel) return E_NOTIMPL;
  if (count > kMaxKernelCount) return E_INVALIDARG;
  kernel(dst, src, static_cast<LONG>(count), srcFormat->nChannels, gains);
  return S_OK;
}
