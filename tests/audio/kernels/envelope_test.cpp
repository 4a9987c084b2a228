#include "tests/audio/kernels/sample_model.h"

#include "qv/audio_kernels.h"

#include <gtest/gtest.h>

namespace {

/// Attack over 4 frames, sustain over 3, release over 2.
QVAUDIO_ASR make_envelope() {
  QVAUDIO_ASR envelope{};
  envelope.segments[0] = {4, 0.0, 1.0};
  envelope.segments[1] = {3, 1.0, 1.0};
  envelope.segments[2] = {2, 1.0, 0.5};
  QvAudio_ASRReCook(&envelope);
  return envelope;
}

/// The gain of frame k of that envelope.
double gain_at(int k) {
  const double gains[] = {0.0, 0.25, 0.5, 0.75, 1.0, 1.0, 1.0, 1.0, 0.75};
  return k < 9 ? gains[k] : 0.5;
}

} // namespace

TEST(Envelope, RunsEndWithTheSegmentsHoweverTheBlocksFall) {
  WAVEFORMATEX format;
  QvAudio_InitWfx(&format, 48000, QVSAMPLE_FLOAT64, 2);
  for (DWORD block = 1; block <= 16; ++block) {
    QVAUDIO_ASR envelope = make_envelope();
    std::vector<double> source(32, 1.0), target(32, 10.0);
    for (DWORD done = 0; done < 16; done += block) {
      const DWORD frames = std::min<DWORD>(block, 16 - done);
      ASSERT_EQ(QvAudio_MixEx(&format, target.data() + done * 2, &format, source.data() + done * 2, frames, &envelope),
                S_OK);
    }
    for (int k = 0; k < 16; ++k) {
      EXPECT_EQ(target[static_cast<size_t>(k) * 2], 10.0 + gain_at(k)) << "frame " << k << ", block " << block;
      EXPECT_EQ(target[static_cast<size_t>(k) * 2 + 1], 10.0 + gain_at(k));
    }
  }
}

TEST(Envelope, PreparesSegmentsInOrderAndSkipsEmptyOnes) {
  QVAUDIO_ASR envelope{};
  envelope.segments[1] = {5, 0.25, 0.75};
  envelope.segments[2] = {0, 0.0, 0.125};
  EXPECT_EQ(QvAudio_ASRReCook(&envelope), S_OK);
  EXPECT_EQ(envelope.remaining, 5u);
  EXPECT_EQ(envelope.gainStart, 0.25);
  EXPECT_DOUBLE_EQ(envelope.gainStep, 0.1);
  EXPECT_EQ(QvAudio_ASRReCook(&envelope), S_FALSE);
  EXPECT_EQ(envelope.gainStart, 0.125);
  EXPECT_EQ(envelope.remaining, 0xFFFFFFFFu);
  EXPECT_EQ(QvAudio_ASRReCook(nullptr), E_INVALIDARG);
}

// A flat envelope mixes what the plain kernel mixes with that gain in every channel.
TEST(Envelope, FlatEnvelopeEqualsThePlainMixForEveryPair) {
  constexpr UINT kChannels = 3;
  constexpr size_t kFrames = 50;
  for (const auto& dst : model::kMixable) {
    for (const auto& src : model::kMixable) {
      WAVEFORMATEX to, from;
      QvAudio_InitWfx(&to, 48000, dst.type, kChannels);
      QvAudio_InitWfx(&from, 48000, src.type, kChannels);
      const auto source = model::make_samples(src, kFrames * kChannels, 3, true);
      auto plain = model::make_samples(dst, kFrames * kChannels, 4, true);
      auto enveloped = plain;
      const double gains[kChannels] = {0.3, 0.3, 0.3};
      QVAUDIO_ASR flat{};
      flat.segments[0] = {1000, 0.3, 0.3};
      ASSERT_EQ(QvAudio_Mix(&to, plain.data(), &from, source.data(), kFrames, gains), S_OK);
      ASSERT_EQ(QvAudio_MixEx(&to, enveloped.data(), &from, source.data(), kFrames, &flat), S_OK);
      for (size_t i = 0; i < kFrames * kChannels; ++i) {
        const size_t at = i * static_cast<size_t>(dst.bytes);
        ASSERT_TRUE(model::same_sample(dst, plain.data() + at, enveloped.data() + at)) << dst.name << " " << src.name;
      }
    }
  }
}

TEST(Envelope, WithoutOneThePlainKernelRunsAtUnity) {
  for (const WORD channels : {WORD{2}, WORD{70}}) {
    WAVEFORMATEX format, big;
    QvAudio_InitWfx(&format, 48000, QVSAMPLE_PCM16, channels);
    QvAudio_InitWfx(&big, 48000, QVSAMPLE_BE16, channels);
    std::vector<int16_t> target(channels * 4u, 100), source(channels * 4u, 23);
    EXPECT_EQ(QvAudio_MixEx(&format, target.data(), &format, source.data(), 4, nullptr), 1);
    EXPECT_EQ(target.front(), 123);
    EXPECT_EQ(target.back(), 123);
    EXPECT_EQ(QvAudio_MixEx(&big, target.data(), &format, source.data(), 4, nullptr), E_NOTIMPL);
    QVAUDIO_ASR envelope = make_envelope();
    EXPECT_EQ(QvAudio_MixEx(&big, target.data(), &format, source.data(), 4, &envelope), E_NOTIMPL);
  }
}
