// Float to integer at unity gain runs in single precision on some levels. It must give the bits of the rule, which is
// in double: proven here for every float whose result is not the same as its neighbours'.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

#include <bit>
#include <gtest/gtest.h>

using model::Layout;

namespace {

constexpr size_t kBlock = 1 << 16;

// Sanitizers make this slow and look at the same few loops: every 61st block is enough for them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr uint32_t kBlockStep = 61;
#else
constexpr uint32_t kBlockStep = 1;
#endif

/// Converts the floats with the bit patterns first, first + step, ... on every level and compares with the generic one.
void check_patterns(const Layout& dst, uint32_t first, uint32_t step) {
  static std::vector<float> floats(kBlock);
  for (size_t i = 0; i < kBlock; ++i)
    floats[i] = std::bit_cast<float>(first + static_cast<uint32_t>(i) * step);
  const auto bytes = static_cast<size_t>(dst.bytes);
  std::vector<uint8_t> expected(kBlock * bytes);
  std::vector<uint8_t> result(kBlock * bytes);
  const auto kernel = QvAudio_GetCopyFunction2(dst.type, QVSAMPLE_FLOAT32);
  model::on_every_level([&](int level) {
    auto& target = level == QVKERNELLEVEL_GENERIC ? expected : result;
    const bool generic_arithmetic = level == QVKERNELLEVEL_SSE2 && dst.type != QVSAMPLE_PCM16;
    if (generic_arithmetic) return;
    kernel(target.data(), floats.data(), kBlock, 1.0f);
    if (level == QVKERNELLEVEL_GENERIC) return;
    ASSERT_EQ(std::memcmp(result.data(), expected.data(), result.size()), 0)
        << dst.name << " from pattern " << first << " in steps of " << step << ", level " << level;
  });
}

} // namespace

// Below half of the layout's smallest step every float is 0, and from 1.0 on every one is clamped.
TEST(FloatRounding, EveryFloatThatRounds) {
  for (const int row : {0, 1, 2, 3}) {
    const Layout& dst = model::kLayouts[row];
    const auto low_exponent = static_cast<uint32_t>(127 - dst.bits - 1);
    for (uint32_t sign : {0u, 0x80000000u}) {
      for (uint32_t pattern = low_exponent << 23; pattern < (128u << 23); pattern += kBlock * kBlockStep) {
        check_patterns(dst, sign | pattern, 1);
        if (HasFatalFailure()) return;
      }
    }
  }
}

// Infinities, NaNs, denormals and all else, in steps through all patterns.
TEST(FloatRounding, AllPatternsInSteps) {
  for (const Layout& dst : model::kLayouts) {
    if (dst.is_float) continue;
    for (uint32_t first = 0; first < 16; ++first) {
      check_patterns(dst, first * 0x0FFFFFF1u, 65521);
      check_patterns(dst, 0x7F7F8000u + first * 0x08000000u, 1); // around the infinities
      if (HasFatalFailure()) return;
    }
  }
}

// The generic level itself, on the same patterns, against the model.
TEST(FloatRounding, TheGenericLevelIsTheRule) {
  QvLimitKernelLevel(QVKERNELLEVEL_GENERIC);
  for (const Layout& dst : model::kLayouts) {
    if (dst.is_float) continue;
    const auto kernel = QvAudio_GetCopyFunction2(dst.type, QVSAMPLE_FLOAT32);
    for (uint64_t pattern = 0; pattern < 0x100000000; pattern += 8191) {
      const auto value = std::bit_cast<float>(static_cast<uint32_t>(pattern));
      uint8_t result[8];
      uint8_t expected[8];
      kernel(result, &value, 1, 1.0f);
      model::write(dst, expected, static_cast<double>(value));
      ASSERT_EQ(std::memcmp(result, expected, static_cast<size_t>(dst.bytes)), 0) << dst.name << " of " << value;
    }
  }
  QvLimitKernelLevel(QVKERNELLEVEL_AVX512);
}
