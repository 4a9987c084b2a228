// All 121 copy kernels on every level, against the model.
#include "tests/audio/every_level.h"
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

using model::Layout;

namespace {

constexpr uint8_t kGuard = 0xA5;
constexpr size_t kGuardBytes = 64;

struct Case {
  const Layout& dst;
  const Layout& src;
  size_t count;
  size_t offset; // of both buffers from alignment
  float gain;
  bool in_place;
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << c.dst.name << " from " << c.src.name << ", count " << c.count << ", offset " << c.offset << ", gain "
             << c.gain << (c.in_place ? ", in place" : "");
}

/// One sample by the rule.
void expected_copy(const Case& c, uint8_t* to, const uint8_t* from) {
  const double value = model::read(c.src, from);
  model::write(c.dst, to, c.gain == 1.0f ? value : value * static_cast<double>(c.gain));
  if (c.dst.type == c.src.type && c.gain == 1.0f) std::memcpy(to, from, c.dst.bytes);
}

void check(const Case& c) {
  const bool in_range = c.in_place || c.dst.type == c.src.type;
  const auto source = model::make_samples(c.src, c.count, 7 + static_cast<uint32_t>(c.count), in_range);
  const size_t src_bytes = c.count * c.src.bytes;
  const size_t dst_bytes = c.count * c.dst.bytes;
  const size_t start = kGuardBytes + c.offset;
  const size_t end = start + (c.in_place ? std::max(src_bytes, dst_bytes) : dst_bytes);
  std::vector<uint8_t> whole(end + kGuardBytes, kGuard);
  std::vector<uint8_t> apart(c.offset + src_bytes); // no byte more, for the sanitizer to see
  uint8_t* const to = whole.data() + start;
  uint8_t* const from = c.in_place ? to : apart.data() + c.offset;
  std::copy_n(source.begin(), src_bytes, from);
  const auto kernel = QvAudio_GetCopyFunction2(c.dst.type, c.src.type);
  ASSERT_NE(kernel, nullptr) << c;
  kernel(to, from, static_cast<LONG>(c.count), c.gain);
  for (size_t i = 0; i < c.count; ++i) {
    uint8_t expected[8];
    expected_copy(c, expected, source.data() + i * c.src.bytes);
    ASSERT_TRUE(model::same_sample(c.dst, to + i * c.dst.bytes, expected)) << c << ", sample " << i;
  }
  for (size_t i = 0; i < whole.size(); ++i)
    ASSERT_TRUE((i >= start && i < end) || whole[i] == kGuard) << c << ", outside";
}

} // namespace

TEST(CopyKernels, EveryPairOnEveryLevelEqualsTheModel) {
  on_every_level([](QVKERNELLEVEL) {
    model::for_every_pair([](const Layout& dst, const Layout& src) {
      for (const float gain : {1.0f, 0.5f, 0.1f, 2.0f, -1.0f}) {
        for (size_t count = 0; count <= 67; ++count)
          ASSERT_NO_FATAL_FAILURE(check({dst, src, count, count % 7, gain, false}));
        for (const Case& each :
             {Case{dst, src, 4099, 1, gain, false}, {dst, src, 61, 0, gain, true}, {dst, src, 1000, 0, gain, true}})
          ASSERT_NO_FATAL_FAILURE(check(each));
      }
    });
  });
}

// Outputs beyond the caches are written past them, in pieces.
TEST(CopyKernels, LargeBuffersEqualSmallOnes) {
  constexpr size_t kCount = 4'200'003;
  for (const auto& [dst, src] : {std::pair<size_t, size_t>{2, 1}, {1, 4}, {4, 1}, {9, 5}, {5, 2}, {3, 10}}) {
    const Layout& to = model::kLayouts[dst];
    const Layout& from = model::kLayouts[src];
    const auto source = model::make_samples(from, kCount, 3, true);
    std::vector<uint8_t> large(kCount * to.bytes + 2 * kGuardBytes, kGuard);
    std::vector<uint8_t> small(kCount * to.bytes);
    uint8_t* const start = large.data() + kGuardBytes - 1;
    const auto kernel = QvAudio_GetCopyFunction2(to.type, from.type);
    kernel(start, source.data(), kCount, 1.0f);
    for (size_t done = 0; done < kCount; done += 1000)
      kernel(small.data() + done * to.bytes, source.data() + done * from.bytes,
             static_cast<LONG>(std::min<size_t>(1000, kCount - done)), 1.0f);
    for (size_t at = 0; at < small.size(); at += to.bytes)
      ASSERT_TRUE(model::same_sample(to, start + at, small.data() + at))
          << to.name << " from " << from.name << " at " << at;
    EXPECT_EQ(start[-1], kGuard);
    EXPECT_EQ(start[small.size()], kGuard);
  }
}

TEST(CopyKernels, KnownValuesAndNegativeCounts) {
  on_every_level([](QVKERNELLEVEL) {
    const std::vector<float> floats = {1.0f, -1.0f, 0.5f, 1.5f, 0.0f};
    std::vector<int16_t> shorts(5);
    std::vector<uint8_t> octets(5);
    QvAudio_GetCopyFunction2(QVSAMPLE_PCM16, QVSAMPLE_FLOAT32)(shorts.data(), floats.data(), 5, 1.0f);
    EXPECT_EQ(shorts, (std::vector<int16_t>{32767, -32768, 16384, 32767, 0}));
    const auto to_octets = QvAudio_GetCopyFunction2(QVSAMPLE_PCM8, QVSAMPLE_FLOAT32);
    to_octets(octets.data(), floats.data(), 5, 1.0f);
    EXPECT_EQ(octets, (std::vector<uint8_t>{255, 0, 0xC0, 255, 0x80}));
    to_octets(octets.data(), floats.data() + 4, -1, 1.0f);
    EXPECT_EQ(octets[0], 255);
  });
}
