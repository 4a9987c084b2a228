// Float to integer at unity gain runs in single precision on some levels. It must give the bits of the rule, which is
// in double: proven here for every float whose result is not the same as its neighbours'.
#include "tests/audio/every_level.h"
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

#include <bit>

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
  std::vector<uint8_t> expected(kBlock * dst.bytes), result(kBlock * dst.bytes);
  const auto kernel = QvAudio_GetCopyFunction2(dst.type, QVSAMPLE_FLOAT32);
  on_every_level([&](QVKERNELLEVEL level) {
    const bool is_generic = level == QVKERNELLEVEL_GENERIC;
    if (level == QVKERNELLEVEL_SSE2 && dst.type != QVSAMPLE_PCM16) return; // the generic arithmetic
    kernel(is_generic ? expected.data() : result.data(), floats.data(), kBlock, 1.0f);
    ASSERT_TRUE(is_generic || result == expected) << dst.name << " from pattern " << first << " in steps of " << step;
  });
}

} // namespace

// Below half of the layout's smallest step every float is 0, and from 1.0 on every one is clamped.
TEST(FloatRounding, EveryFloatThatRounds) {
  for (const Layout& dst : model::kLayouts.first(4)) {
    const auto low_exponent = static_cast<uint32_t>(127 - dst.bits - 1);
    for (uint32_t sign : {0u, 0x80000000u})
      for (uint32_t pattern = low_exponent << 23; pattern < (128u << 23); pattern += kBlock * kBlockStep)
        ASSERT_NO_FATAL_FAILURE(check_patterns(dst, sign | pattern, 1));
  }
}

// Infinities, NaNs, denormals and all else, in steps through all patterns; the generic level itself against the model.
TEST(FloatRounding, AllPatternsInSteps) {
  for (const Layout& dst : model::kLayouts) {
    if (model::is_float(dst)) continue;
    for (uint32_t first = 0; first < 16; ++first) {
      ASSERT_NO_FATAL_FAILURE(check_patterns(dst, first * 0x0FFFFFF1u, 65521));
      ASSERT_NO_FATAL_FAILURE(check_patterns(dst, 0x7F7F8000u + first * 0x08000000u, 1)); // around the infinities
    }
    const auto kernel = QvAudio_GetCopyFunction2(dst.type, QVSAMPLE_FLOAT32);
    QvLimitKernelLevel(QVKERNELLEVEL_GENERIC);
    for (uint64_t pattern = 0; pattern < 0x100000000; pattern += 8191) {
      const auto value = std::bit_cast<float>(static_cast<uint32_t>(pattern));
      uint8_t result[8];
      uint8_t expected[8];
      kernel(result, &value, 1, 1.0f);
      model::write(dst, expected, static_cast<double>(value));
      ASSERT_EQ(std::memcmp(result, expected, dst.bytes), 0) << dst.name << " of " << value;
    }
    QvLimitKernelLevel(QVKERNELLEVEL_AVX512);
  }
}
