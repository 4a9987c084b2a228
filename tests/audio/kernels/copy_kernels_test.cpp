// All 121 copy kernels on every level, against the model.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

#include <gtest/gtest.h>

using model::Layout;

namespace {

constexpr uint8_t kGuard = 0xA5;
constexpr size_t kGuardBytes = 64;
constexpr float kGains[] = {1.0f, 0.5f, 0.1f, 2.0f, -1.0f};

std::vector<uint8_t> expected_copy(const Layout& dst, const Layout& src, const uint8_t* samples, size_t count,
                                   float gain) {
  std::vector<uint8_t> bytes(count * static_cast<size_t>(dst.bytes) + 1);
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* from = samples + i * static_cast<size_t>(src.bytes);
    uint8_t* to = bytes.data() + i * static_cast<size_t>(dst.bytes);
    const double value = model::read(src, from);
    model::write(dst, to, gain == 1.0f ? value : value * static_cast<double>(gain));
    if (dst.type == src.type && gain == 1.0f) std::memcpy(to, from, static_cast<size_t>(dst.bytes));
  }
  return bytes;
}

struct Case {
  const Layout& dst;
  const Layout& src;
  size_t count;
  size_t offset; // of both buffers from alignment
  float gain;
};

/// The index of the first wrong sample or -1; -2 when bytes outside the destination changed.
int64_t first_difference(const Case& c, const uint8_t* result, const std::vector<uint8_t>& expected,
                         const std::vector<uint8_t>& whole, size_t start) {
  const size_t bytes = c.count * static_cast<size_t>(c.dst.bytes);
  for (size_t i = 0; i < c.count; ++i) {
    const size_t at = i * static_cast<size_t>(c.dst.bytes);
    if (!model::same_sample(c.dst, result + at, expected.data() + at)) return static_cast<int64_t>(i);
  }
  for (size_t i = 0; i < whole.size(); ++i)
    if ((i < start || i >= start + bytes) && whole[i] != kGuard) return -2;
  return -1;
}

std::string describe(const Case& c, int level, int64_t at) {
  return std::string(c.dst.name) + " from " + c.src.name + ", level " + std::to_string(level) + ", count " +
         std::to_string(c.count) + ", offset " + std::to_string(c.offset) + ", gain " + std::to_string(c.gain) +
         ", sample " + std::to_string(at);
}

void check_apart(const Case& c, int level) {
  const auto source =
      model::make_samples(c.src, c.count + 8, 7 + static_cast<uint32_t>(c.count), c.dst.type == c.src.type);
  std::vector<uint8_t> shifted(c.offset + source.size());
  std::memcpy(shifted.data() + c.offset, source.data(), source.size());
  const size_t start = kGuardBytes + c.offset;
  std::vector<uint8_t> whole(start + c.count * static_cast<size_t>(c.dst.bytes) + kGuardBytes, kGuard);
  const auto kernel = QvAudio_GetCopyFunction2(c.dst.type, c.src.type);
  ASSERT_NE(kernel, nullptr);
  kernel(whole.data() + start, shifted.data() + c.offset, static_cast<LONG>(c.count), c.gain);
  const auto expected = expected_copy(c.dst, c.src, source.data(), c.count, c.gain);
  const int64_t at = first_difference(c, whole.data() + start, expected, whole, start);
  ASSERT_EQ(at, -1) << describe(c, level, at);
}

void check_in_place(const Case& c, int level) {
  const auto source = model::make_samples(c.src, c.count, 11, true);
  const auto expected = expected_copy(c.dst, c.src, source.data(), c.count, c.gain);
  std::vector<uint8_t> buffer(std::max(source.size(), expected.size()));
  std::memcpy(buffer.data(), source.data(), source.size());
  QvAudio_GetCopyFunction2(c.dst.type, c.src.type)(buffer.data(), buffer.data(), static_cast<LONG>(c.count), c.gain);
  for (size_t i = 0; i < c.count; ++i) {
    const size_t at = i * static_cast<size_t>(c.dst.bytes);
    ASSERT_TRUE(model::same_sample(c.dst, buffer.data() + at, expected.data() + at))
        << "in place: " << describe(c, level, static_cast<int64_t>(i));
  }
}

} // namespace

TEST(CopyKernels, EveryPairOnEveryLevelEqualsTheModel) {
  model::on_every_level([](int level) {
    for (const Layout& dst : model::kLayouts) {
      for (const Layout& src : model::kLayouts) {
        for (const float gain : kGains) {
          for (size_t count = 0; count <= 67; ++count)
            ASSERT_NO_FATAL_FAILURE(check_apart({dst, src, count, count % 7, gain}, level));
          ASSERT_NO_FATAL_FAILURE(check_apart({dst, src, 4099, 1, gain}, level));
          ASSERT_NO_FATAL_FAILURE(check_in_place({dst, src, 61, 0, gain}, level));
          ASSERT_NO_FATAL_FAILURE(check_in_place({dst, src, 1000, 0, gain}, level));
        }
      }
    }
  });
}

// Outputs beyond the caches are written past them, in pieces.
TEST(CopyKernels, LargeBuffersEqualSmallOnes) {
  constexpr size_t kCount = 4'200'003;
  for (const auto& [dst, src] : {std::pair{2, 1}, {1, 4}, {4, 1}, {9, 5}, {5, 2}, {3, 10}}) {
    const Layout& to = model::kLayouts[dst];
    const Layout& from = model::kLayouts[src];
    const auto source = model::make_samples(from, kCount, 3, true);
    const auto to_bytes = static_cast<size_t>(to.bytes);
    std::vector<uint8_t> large(kCount * to_bytes + 2 * kGuardBytes, kGuard);
    std::vector<uint8_t> small(kCount * to_bytes);
    const auto kernel = QvAudio_GetCopyFunction2(to.type, from.type);
    kernel(large.data() + kGuardBytes - 1, source.data(), kCount, 1.0f);
    for (size_t done = 0; done < kCount; done += 1000) {
      const size_t count = std::min<size_t>(1000, kCount - done);
      kernel(small.data() + done * to_bytes, source.data() + done * static_cast<size_t>(from.bytes),
             static_cast<LONG>(count), 1.0f);
    }
    for (size_t i = 0; i < kCount; ++i) {
      ASSERT_TRUE(model::same_sample(to, large.data() + kGuardBytes - 1 + i * to_bytes, small.data() + i * to_bytes))
          << to.name << " from " << from.name << " at " << i;
    }
    EXPECT_EQ(large[kGuardBytes - 2], kGuard);
    EXPECT_EQ(large[kGuardBytes - 1 + kCount * to_bytes], kGuard);
  }
}

TEST(CopyKernels, EveryInt32BecomesTheNearestFloat) {
  std::vector<int32_t> source(1 << 16);
  std::vector<float> result(source.size());
  const auto kernel = QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_PCM32);
  for (uint32_t first = 0; first < 256; ++first) {
    for (size_t i = 0; i < source.size(); ++i)
      source[i] = static_cast<int32_t>(first * 0x1000193u + i * 65537u);
    kernel(result.data(), source.data(), static_cast<LONG>(source.size()), 1.0f);
    for (size_t i = 0; i < source.size(); ++i)
      ASSERT_EQ(result[i], static_cast<float>(source[i] / 2147483648.0));
  }
}

TEST(CopyKernels, KnownValues) {
  const float floats[] = {1.0f, -1.0f, 0.5f, 1.5f};
  int16_t shorts[4];
  QvAudio_GetCopyFunction2(QVSAMPLE_PCM16, QVSAMPLE_FLOAT32)(shorts, floats, 4, 1.0f);
  EXPECT_EQ(shorts[0], 32767);
  EXPECT_EQ(shorts[1], -32768);
  EXPECT_EQ(shorts[2], 16384);
  EXPECT_EQ(shorts[3], 32767);
  float back = 0;
  QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_PCM16)(&back, &shorts[1], 1, 1.0f);
  EXPECT_EQ(back, -1.0f);
  uint8_t octet = 0;
  const float zero = 0;
  QvAudio_GetCopyFunction2(QVSAMPLE_PCM8, QVSAMPLE_FLOAT32)(&octet, &zero, 1, 1.0f);
  EXPECT_EQ(octet, 0x80);
}

TEST(CopyKernels, NegativeCountsDoNothing) {
  model::on_every_level([](int) {
    uint8_t octet = 1;
    const double value = 0.5;
    QvAudio_GetCopyFunction2(QVSAMPLE_PCM8, QVSAMPLE_FLOAT64)(&octet, &value, -1, 1.0f);
    EXPECT_EQ(octet, 1);
  });
}

TEST(CopyKernels, OneShotResults) {
  WAVEFORMATEX floats, shorts, compressed;
  QvAudio_InitWfx(&floats, 48000, QVSAMPLE_FLOAT32, 2);
  QvAudio_InitWfx(&shorts, 48000, QVSAMPLE_PCM16, 2);
  QvAudio_InitWfxFlex(&compressed, 0x55, 48000, 0, 2, 0, sizeof compressed);
  const int16_t source[] = {16384, -16384, 8192, -32768};
  float result[4] = {};
  EXPECT_EQ(QvAudio_Copy(&floats, result, &shorts, source, 2, 1.0f), S_OK);
  EXPECT_EQ(result[0], 0.5f);
  EXPECT_EQ(result[3], -1.0f);
  EXPECT_EQ(QvAudio_Copy(&floats, result, &compressed, source, 2, 1.0f), E_NOTIMPL);
  EXPECT_EQ(QvAudio_Copy(&floats, result, &compressed, source, 0, 1.0f), S_OK);
  EXPECT_EQ(QvAudio_Copy(&floats, result, &shorts, source, 0x40000000, 1.0f), E_INVALIDARG);
  EXPECT_EQ(QvAudio_GetCopyFunction2(QVSAMPLE_RA16, QVSAMPLE_PCM16), nullptr);
  EXPECT_EQ(QvAudio_GetCopyFunction2(QVSAMPLE_PCM16, QVSAMPLE_NONE), nullptr);
}
