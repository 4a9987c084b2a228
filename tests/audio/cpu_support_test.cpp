#include "qv/audio_kernels.h"
#include "qv/cpu.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

/// Puts the allowed mask and the class back.
class CpuSupport : public testing::Test {
protected:
  ~CpuSupport() override {
    QvDisallowCPUSupport(0xFFFFFFFF); // with nothing allowed the class becomes generic
    QvSetCPUClassBySupport();
    QvAllowCPUSupport(0xFFFFFFFF);
  }
};

} // namespace

TEST_F(CpuSupport, TellsWhatTheCompilerKnows) {
  __builtin_cpu_init();
  const std::pair<uint32_t, int> rows[] = {
      {0x10, __builtin_cpu_supports("mmx")},     {0x20, __builtin_cpu_supports("sse")},
      {0x40, __builtin_cpu_supports("sse2")},    {0x80, __builtin_cpu_supports("sse3")},
      {0x100, __builtin_cpu_supports("ssse3")},  {0x200, __builtin_cpu_supports("sse4.1")},
      {0x400, __builtin_cpu_supports("sse4.2")}, {0x1000, __builtin_cpu_supports("cmov")}};
  for (const auto& [bit, present] : rows)
    EXPECT_EQ((QvGetCPUSupport(bit) & bit) != 0, present != 0) << std::hex << bit;
  EXPECT_EQ((QvGetOSSupport(0x800) & QvGetCPUSupport(0x800) & 0x800) != 0, __builtin_cpu_supports("avx") != 0);
  EXPECT_EQ(QvGetOSSupport(0x60), 0x60u);
  EXPECT_EQ(QvGetOSSupport(0) & ~0xFE0u, 0u) << "nothing but SSE and AVX state";
  EXPECT_GE(QvGetProcessorCount(), 1u);
}

TEST_F(CpuSupport, MasksAndSetters) {
  const uint32_t all = QvGetCPUSupport(0);
  EXPECT_EQ(all & 0xF, 0u) << "generic class until it is set";
  EXPECT_EQ(QvDisallowCPUSupport(0x40), 1u);
  EXPECT_EQ(QvGetCPUSupport(0), all & ~0x40u);
  EXPECT_EQ(QvAllowCPUSupport(0x40), 1u);
  EXPECT_EQ(QvGetCPUSupport(0), all);
  EXPECT_EQ(QvOnlyAllowCPUSupport(0x1000), 0u);
  EXPECT_EQ(QvGetCPUSupport(0), all) << "refused, nothing changed";
  EXPECT_EQ(QvOnlyAllowCPUSupport(0x30), 1u);
  EXPECT_EQ(QvGetCPUSupport(0), all & ~0xFC0u) << "bits outside 0xFF0 stay";
}

TEST_F(CpuSupport, TheClassGoesByWhatIsAllowed) {
  for (const auto& [allowed, expected] :
       {std::pair{0x10u, 4u}, {0x30u, 5u}, {0x70u, 6u}, {0x40u, 6u}, {0x50u, 6u}, {0x20u, 5u}, {0x780u, 0u}}) {
    QvOnlyAllowCPUSupport(allowed);
    EXPECT_EQ(QvSetCPUClassBySupport(), 1u);
    EXPECT_EQ(QvGetCPUSupport(0x10) & 0xF, expected) << std::hex << allowed;
  }
}

TEST_F(CpuSupport, LookupsFollowTheAllowedBits) {
  const std::tuple<QVSAMPLETYPE, QVSAMPLETYPE, uint32_t, bool> rows[] = {
      {QVSAMPLE_PCM16, QVSAMPLE_FLOAT32, 0x40, true},   {QVSAMPLE_PCM16, QVSAMPLE_FLOAT32, 0x20, false},
      {QVSAMPLE_FLOAT32, QVSAMPLE_PCM16, 0x40, true},   {QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT64, 0x40, true},
      {QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT64, 0x20, true}, {QVSAMPLE_FLOAT64, QVSAMPLE_FLOAT32, 0x20, true},
      {QVSAMPLE_PCM24, QVSAMPLE_FLOAT32, 0x60, false},  {QVSAMPLE_FLOAT64, QVSAMPLE_PCM16, 0x60, false}};
  for (const auto& [dst, src, withdrawn, changes] : rows) {
    const auto before = QvAudio_GetCopyFunction2(dst, src);
    QvDisallowCPUSupport(withdrawn);
    EXPECT_EQ(QvAudio_GetCopyFunction2(dst, src) != before, changes) << dst << " " << src;
    // The kernel handed out before still runs.
    const double value[2] = {0.5, 0.5};
    uint8_t target[16];
    before(target, value, 1, 1.0f);
    QvAllowCPUSupport(withdrawn);
    EXPECT_EQ(QvAudio_GetCopyFunction2(dst, src), before);
  }
  const auto mix = QvAudio_GetMixFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT32);
  QvDisallowCPUSupport(0x40);
  EXPECT_NE(QvAudio_GetMixFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_FLOAT32), mix);
}

TEST_F(CpuSupport, TheLevelFollowsTheAllowedBits) {
  const QVKERNELLEVEL widest = QvGetKernelLevel();
  QvDisallowCPUSupport(QVCPU_AVX);
  EXPECT_LE(QvGetKernelLevel(), QVKERNELLEVEL_SSE2);
  QvDisallowCPUSupport(QVCPU_SSE2);
  EXPECT_EQ(QvGetKernelLevel(), QVKERNELLEVEL_GENERIC);
  QvAllowCPUSupport(QVCPU_AVX);
  EXPECT_EQ(QvGetKernelLevel(), QVKERNELLEVEL_GENERIC) << "wide loops are not for a processor without SSE2";
  QvAllowCPUSupport(QVCPU_SSE2);
  EXPECT_EQ(QvGetKernelLevel(), widest);
  QvLimitKernelLevel(QVKERNELLEVEL_SSE2);
  EXPECT_LE(QvGetKernelLevel(), QVKERNELLEVEL_SSE2);
  QvLimitKernelLevel(QVKERNELLEVEL_AVX512);
  EXPECT_EQ(QvGetKernelLevel(), widest);
}
