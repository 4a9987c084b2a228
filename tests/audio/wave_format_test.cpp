// The format record: filling it, and equality.
#include "qv/audio.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

/// A record in memory of exactly `capacity` bytes, followed by guard bytes.
class GuardedRecord {
public:
  explicit GuardedRecord(DWORD capacity) : capacity_(capacity), memory_((capacity + 64 + 3) / 4, 0xCDCDCDCD) {}
  _qvwaveformat& operator*() { return *reinterpret_cast<_qvwaveformat*>(memory_.data()); }
  _qvwaveformat* operator->() { return &**this; }
  bool guard_is_whole() const {
    const auto* bytes = reinterpret_cast<const uint8_t*>(memory_.data());
    for (size_t i = capacity_ < 32 ? 32 : capacity_; i < memory_.size() * 4; ++i)
      if (bytes[i] != 0xCD) return false;
    return true;
  }

private:
  DWORD capacity_;
  std::vector<uint32_t> memory_;
};

/// A header followed by extra bytes 1, 2, 3, ...
struct HeaderWithExtra {
  WAVEFORMATEXTENSIBLE header{};
  BYTE room[2000]{};

  HeaderWithExtra(WORD tag, WORD bits, WORD extra) {
    auto& format = header.Format;
    format = {tag, 2, 44100, 16000, 4, bits, extra};
    auto* bytes = reinterpret_cast<BYTE*>(&header) + sizeof(WAVEFORMATEX);
    for (WORD i = 0; i < extra; ++i)
      bytes[i] = static_cast<BYTE>(i + 1);
  }
  void name_sub_format(uint32_t tag) { header.SubFormat = {tag, 0, 0x10, {0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71}}; }
};

} // namespace

TEST(WaveFormat, InitDescribesUncompressedLayouts) {
  GuardedRecord record(36);
  record->Init(96000, QVSAMPLE_PCM24, 6, 0x3F, 36);
  EXPECT_EQ(record->cbStruct, 32u);
  EXPECT_EQ(record->blockAlign, 18);
  EXPECT_EQ(record->avgBytesPerSec, 96000u * 18);
  EXPECT_EQ(record->BitsPerSample(), 24u);
  EXPECT_EQ(record->BytesPerSample(), 3u);
  EXPECT_EQ(record->FormatTag(), 1u);
  EXPECT_FALSE(record->IsCompressed());
  record->channels = 2;
  EXPECT_EQ(record->UpdateBlockAlign(), 6u);
  EXPECT_EQ(record->avgBytesPerSec, 96000u * 6);
  EXPECT_TRUE(record.guard_is_whole());
}

TEST(WaveFormat, InitAsWfxTakesTagsAndBits) {
  GuardedRecord record(36);
  record->InitAsWfx(1, 44100, 20, 2, 0, 36);
  EXPECT_EQ(record->sampleType, QVSAMPLE_PCM24);
  EXPECT_EQ(record->blockAlign, 6);
  record->InitAsWfx(0x11, 8000, 4, 2, 0, 36);
  EXPECT_TRUE(record->IsCompressed());
  EXPECT_EQ(record->sampleType, QVSAMPLE_NONE);
  EXPECT_EQ(record->FormatTag(), 0x11u);
  EXPECT_EQ(record->BitsPerSample(), 4u);
  EXPECT_EQ(record->BytesPerSample(), 0u);
  EXPECT_EQ(record->blockAlign, 1);
  EXPECT_EQ(record->UpdateBlockAlign(), 1u) << "nothing to compute it from";
}

TEST(WaveFormat, CapacityBoundsWhatIsWritten) {
  const HeaderWithExtra adpcm(2, 4, 1500);
  for (const DWORD capacity : {0u, 1u, 32u, 33u, 34u, 35u, 36u, 50u, 1000u, 1058u, 1059u, 1400u}) {
    GuardedRecord record(capacity);
    record->Init(capacity, adpcm.header.Format);
    const DWORD expected = capacity <= 34 ? 0 : std::min<DWORD>(capacity - 34, 1024);
    EXPECT_EQ(record->cbStruct, 32 + expected) << capacity;
    EXPECT_TRUE(record.guard_is_whole()) << capacity;
    EXPECT_EQ(record->ExtraCount(), record->cbStruct >= 34 ? expected : 0) << capacity;
    for (DWORD i = 0; i < record->ExtraCount(); ++i)
      ASSERT_EQ(record->ExtraBytes()[i], static_cast<BYTE>(i + 1));
  }
}

TEST(WaveFormat, TagsOneAndThreeKeepNoExtraBytes) {
  for (const WORD tag : {WORD{1}, WORD{3}}) {
    const HeaderWithExtra odd(tag, 12, 8);
    GuardedRecord record(128);
    record->Init(128, odd.header.Format);
    EXPECT_TRUE(record->IsCompressed());
    EXPECT_EQ(record->cbStruct, 32u);
    EXPECT_EQ(record->FormatTag(), tag);
  }
}

TEST(WaveFormat, PlainPcmIsBelievedInItsBitsNotItsBlockAlign) {
  HeaderWithExtra pcm(1, 20, 0);
  pcm.header.Format.nBlockAlign = 5;
  GuardedRecord record(36);
  record->Init(36, pcm.header.Format);
  EXPECT_EQ(record->sampleType, QVSAMPLE_PCM24);
  EXPECT_EQ(record->blockAlign, 6);
  EXPECT_EQ(record->flags, 0u);
}

TEST(WaveFormat, ExtensibleHeaders) {
  HeaderWithExtra format(0xFFFE, 24, 22);
  format.name_sub_format(1);
  format.header.dwChannelMask = 0x60F;
  GuardedRecord record(36);
  record->Init(36, format.header.Format);
  EXPECT_EQ(record->sampleType, QVSAMPLE_PCM24);
  EXPECT_EQ(record->flags, 16u);
  EXPECT_EQ(record->channelMask, 0x60Fu);
  EXPECT_EQ(record->blockAlign, 4) << "as the header has it";

  HeaderWithExtra compressed(0xFFFE, 16, 22 + 5);
  compressed.name_sub_format(0x0161);
  GuardedRecord tagged(128);
  tagged->Init(128, compressed.header.Format);
  EXPECT_EQ(tagged->flags, 24u);
  EXPECT_EQ(tagged->FormatTag(), 0x161u);
  ASSERT_EQ(tagged->ExtraCount(), 5u);
  EXPECT_EQ(tagged->ExtraBytes()[0], 23);
  compressed.header.SubFormat.Data3 = 7; // no pattern, no tag
  tagged->Init(128, compressed.header.Format);
  EXPECT_EQ(tagged->FormatTag(), 0u);
}

TEST(WaveFormat, NamelessExtensibleHeadersAreToldByTheirBits) {
  const struct {
    WORD bits;
    QVSAMPLETYPE type;
  } rows[] = {{8, QVSAMPLE_PCM8},     {16, QVSAMPLE_PCM16},   {24, QVSAMPLE_PCM24},
              {32, QVSAMPLE_FLOAT32}, {64, QVSAMPLE_FLOAT64}, {20, QVSAMPLE_NONE}};
  for (const auto& row : rows) {
    for (const WORD extra : {WORD{0}, WORD{22}, WORD{10}}) {
      HeaderWithExtra format(0xFFFE, row.bits, 0);
      format.header.Format.cbSize = extra;
      format.header.SubFormat = GUID{};
      format.header.Format.nBlockAlign = static_cast<WORD>(2 * row.bits);
      format.header.Format.nAvgBytesPerSec = 44100u * 2 * row.bits;
      GuardedRecord record(36);
      record->Init(36, format.header.Format);
      EXPECT_EQ(record->sampleType, extra == 10 ? QVSAMPLE_NONE : row.type) << row.bits << " " << extra;
      format.header.Format.nBlockAlign /= 8; // a sound header: bytes, not bits
      record->Init(36, format.header.Format);
      EXPECT_EQ(record->sampleType, QVSAMPLE_NONE);
    }
  }
}

TEST(WaveFormat, EqualityTreatsNoMaskAsTheDefault) {
  _qvwaveformat a, b;
  a.Init(44100, QVSAMPLE_PCM16, 2, 0, sizeof a);
  b.Init(44100, QVSAMPLE_PCM16, 2, 3, sizeof b);
  EXPECT_TRUE(a == b);
  b.channelMask = 1;
  EXPECT_FALSE(a == b);
  a.Init(44100, QVSAMPLE_PCM16, 40, 0, sizeof a);
  b.Init(44100, QVSAMPLE_PCM16, 40, 0xFFFFFFFF, sizeof b);
  EXPECT_TRUE(a == b) << "from 32 channels on the default is all ones";
  b.avgBytesPerSec = 1;
  EXPECT_TRUE(a == b) << "not compared without flag 8";
}

TEST(WaveFormat, EqualityOfCompressedRecordsLooksAtEverything) {
  const HeaderWithExtra adpcm(2, 4, 8);
  QVWAVEFORMATBUFFER a, b;
  a.format.Init(sizeof a, adpcm.header.Format);
  const struct {
    const char* what;
    void (*change)(_qvwaveformat&);
  } rows[] = {{"tag", [](_qvwaveformat& f) { f.formatTag = 3; }},
              {"rate", [](_qvwaveformat& f) { f.samplesPerSec = 1; }},
              {"channels", [](_qvwaveformat& f) { f.channels = 1; }},
              {"average", [](_qvwaveformat& f) { f.avgBytesPerSec = 1; }},
              {"bits", [](_qvwaveformat& f) { f.bitsPerSample = 1; }},
              {"flag", [](_qvwaveformat& f) { f.flags = 0; }},
              {"extra size", [](_qvwaveformat& f) { f.extraSize = 7; }},
              {"extra bytes", [](_qvwaveformat& f) { f.extra[1] = 99; }}};
  for (const auto& row : rows) {
    b.format.Init(sizeof b, adpcm.header.Format);
    ASSERT_TRUE(a.format == b.format);
    row.change(b.format);
    EXPECT_FALSE(a.format == b.format) << row.what;
  }
}

TEST(WaveFormat, EqualityWithHeaders) {
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_FLOAT32, 2, 3, sizeof record);
  WAVEFORMATEXTENSIBLE header{};
  QvAudio_InitWfx(&header.Format, 48000, QVSAMPLE_FLOAT32, 2);
  EXPECT_TRUE(record == header.Format);
  header.Format.nSamplesPerSec = 44100;
  EXPECT_FALSE(record == header.Format);
  record.ToWfx(&header.Format, sizeof header, QVWAVEFORMAT_COPY_EXTENSIBLE);
  EXPECT_TRUE(record == header.Format);
  header.dwChannelMask = 4;
  EXPECT_FALSE(record == header.Format);
  const HeaderWithExtra adpcm(2, 4, 8);
  QVWAVEFORMATBUFFER compressed;
  compressed.format.Init(sizeof compressed, adpcm.header.Format);
  EXPECT_TRUE(compressed.format == adpcm.header.Format);
}
