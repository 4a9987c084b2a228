// Mixing under an envelope: its segments, however blocks fall, and its likeness to the plain mix.
#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

using model::Layout;

namespace {

/// Attack over 4 frames, sustain over 3, release over 2.
QVAUDIO_ASR make_envelope() {
  QVAUDIO_ASR envelope{{{4, 0.0, 1.0}, {3, 1.0, 1.0}, {2, 1.0, 0.5}}, 0, 0, 0, 0.0, 0.0};
  QvAudio_ASRReCook(&envelope);
  return envelope;
}

/// The gain of frame k of that envelope.
double gain_at(size_t k) {
  const double gains[] = {0.0, 0.25, 0.5, 0.75, 1.0, 1.0, 1.0, 1.0, 0.75};
  return k < 9 ? gains[k] : 0.5;
}

} // namespace

TEST(Envelope, RunsEndWithTheSegmentsHoweverTheBlocksFall) {
  const WAVEFORMATEX format = model::format_of(QVSAMPLE_FLOAT64, 2);
  for (DWORD block = 1; block <= 16; ++block) {
    QVAUDIO_ASR envelope = make_envelope();
    std::vector<double> source(32, 1.0), target(32, 10.0);
    for (DWORD done = 0; done < 16; done += block)
      ASSERT_EQ(QvAudio_MixEx(&format, target.data() + done * 2, &format, source.data() + done * 2,
                              std::min(block, 16 - done), &envelope),
                S_OK);
    for (size_t i = 0; i < 32; ++i)
      EXPECT_EQ(target[i], 10.0 + gain_at(i / 2)) << "frame " << i / 2 << ", block " << block;
  }
}

TEST(Envelope, PreparesSegmentsInOrderAndSkipsEmptyOnes) {
  QVAUDIO_ASR envelope{{{0, 0.0, 0.0}, {5, 0.25, 0.75}, {0, 0.0, 0.125}}, 0, 9, 9, 0.0, 0.0};
  EXPECT_EQ(QvAudio_ASRReCook(&envelope), S_OK);
  EXPECT_EQ(envelope.position, 0u);
  EXPECT_EQ(envelope.remaining, 5u);
  EXPECT_EQ(envelope.gainStart, 0.25);
  EXPECT_DOUBLE_EQ(envelope.gainStep, 0.1);
  EXPECT_EQ(QvAudio_ASRReCook(&envelope), S_FALSE);
  EXPECT_EQ(envelope.gainStart, 0.125);
  EXPECT_EQ(envelope.gainStep, 0.0);
  EXPECT_EQ(envelope.remaining, 0xFFFFFFFFu);
  EXPECT_EQ(QvAudio_ASRReCook(nullptr), E_INVALIDARG);
}

// A flat envelope mixes what the plain kernel mixes with that gain in every channel.
TEST(Envelope, FlatEnvelopeEqualsThePlainMixForEveryPair) {
  model::for_every_pair<qv::audio::kMixedTypes>([](const Layout& dst, const Layout& src) {
    model::Buffer source(src, 3, 3), plain(dst, 3, 4), enveloped(dst, 3, 4);
    const double gains[] = {0.3, 0.3, 0.3};
    QVAUDIO_ASR flat{};
    flat.segments[0] = {1000, 0.3, 0.3};
    ASSERT_EQ(QvAudio_Mix(&plain.format, plain.data(), &source.format, source.data(), 300, gains), S_OK);
    ASSERT_EQ(QvAudio_MixEx(&plain.format, enveloped.data(), &source.format, source.data(), 300, &flat), S_OK);
    model::expect_equal(enveloped, plain);
  });
}

TEST(Envelope, WithoutOneThePlainKernelRunsAtUnity) {
  for (const WORD channels : {WORD{2}, WORD{64}, WORD{65}, WORD{70}}) {
    const WAVEFORMATEX format = model::format_of(QVSAMPLE_PCM16, channels);
    const WAVEFORMATEX big = model::format_of(QVSAMPLE_BE16, channels);
    std::vector<int16_t> target(channels * 4u, 100), source(channels * 4u, 23);
    EXPECT_EQ(QvAudio_MixEx(&format, target.data(), &format, source.data(), 4, nullptr), 1);
    EXPECT_EQ(target, std::vector<int16_t>(channels * 4u, 123));
    QVAUDIO_ASR envelope = make_envelope();
    for (QVAUDIO_ASR* const each : {&envelope, static_cast<QVAUDIO_ASR*>(nullptr)})
      EXPECT_EQ(QvAudio_MixEx(&big, target.data(), &format, source.data(), 4, each), E_NOTIMPL);
  }
}
