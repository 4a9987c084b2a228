// The format record: filling it, and equality.
#include "tests/audio/headers.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

namespace {

/// A record in room enough for any, filled so that what is written to shows.
struct Guarded {
  _qvwaveformat record;
  BYTE room[1500];

  Guarded() { std::memset(static_cast<void*>(this), 0xCD, sizeof *this); }
  _qvwaveformat& operator*() { return record; }
  _qvwaveformat* operator->() { return &record; }
  bool is_whole_from(DWORD capacity) const {
    const auto* const bytes = reinterpret_cast<const BYTE*>(this);
    return std::all_of(bytes + std::max<DWORD>(capacity, 32), bytes + sizeof *this, [](BYTE b) { return b == 0xCD; });
  }
};

} // namespace

TEST(WaveFormat, DescribesLayoutsTagsAndBits) {
  Guarded record;
  record->Init(96000, QVSAMPLE_PCM24, 6, 0x3F, 36);
  EXPECT_EQ(told(*record), "type 18, tag 1, 24 bits in 3, block 18, average 1728000, flags 0, mask 63, extra 0");
  EXPECT_EQ(record->cbStruct, 32u);
  EXPECT_FALSE(record->IsCompressed());
  record->channels = 2;
  EXPECT_EQ(record->UpdateBlockAlign(), 6u);
  EXPECT_EQ(record->avgBytesPerSec, 96000u * 6);
  record->InitAsWfx(1, 44100, 20, 2, 0, 36);
  EXPECT_EQ(told(*record), "type 18, tag 1, 24 bits in 3, block 6, average 264600, flags 0, mask 0, extra 0");
  record->InitAsWfx(0x11, 8000, 4, 2, 0, 36);
  EXPECT_EQ(told(*record), "type 0, tag 17, 4 bits in 0, block 1, average 8000, flags 8, mask 0, extra 0");
  EXPECT_TRUE(record->IsCompressed());
  EXPECT_EQ(record->UpdateBlockAlign(), 1u) << "nothing to compute it from";
  EXPECT_TRUE(record.is_whole_from(36));
}

TEST(WaveFormat, CapacityBoundsWhatIsWritten) {
  Header adpcm = plain_header(2, 44100, 4, 2);
  adpcm.add_extra(1500);
  for (const DWORD capacity : {0u, 1u, 32u, 33u, 34u, 35u, 36u, 50u, 1000u, 1058u, 1059u, 1400u}) {
    Guarded record;
    record->Init(capacity, adpcm.plain());
    const DWORD expected = capacity <= 34 ? 0 : std::min<DWORD>(capacity - 34, 1024);
    EXPECT_EQ(record->cbStruct, 32 + expected) << capacity;
    EXPECT_TRUE(record.is_whole_from(capacity)) << capacity;
    EXPECT_EQ(record->ExtraCount(), record->cbStruct >= 34 ? expected : 0) << capacity;
    EXPECT_EQ(std::memcmp(record->ExtraBytes(), adpcm.bytes() + 18, record->ExtraCount()), 0) << capacity;
  }
}

TEST(WaveFormat, PlainHeadersAreBelievedInTheirBits) {
  Guarded record;
  Header pcm = plain_header(1, 44100, 20, 2);
  pcm.plain().nBlockAlign = 5;
  record->Init(36, pcm.plain());
  EXPECT_EQ(told(*record), "type 18, tag 1, 24 bits in 3, block 6, average 176400, flags 0, mask 0, extra 0");
  Header odd = plain_header(3, 44100, 12, 2);
  odd.add_extra(8);
  record->Init(128, odd.plain());
  EXPECT_EQ(told(*record), "type 0, tag 3, 12 bits in 1, block 2, average 88200, flags 8, mask 0, extra 0");
  odd.plain().wFormatTag = 1;
  record->Init(128, odd.plain());
  EXPECT_EQ(told(*record), "type 0, tag 1, 12 bits in 1, block 2, average 88200, flags 8, mask 0, extra 0");
}

TEST(WaveFormat, ExtensibleHeaders) {
  Header uncompressed = extensible_header(1, 24, 2, 0x60F);
  uncompressed.plain().nBlockAlign = 4; // kept
  Guarded record;
  record->Init(36, uncompressed.plain());
  EXPECT_EQ(told(*record), "type 18, tag 1, 24 bits in 3, block 4, average 288000, flags 16, mask 1551, extra 0");

  Header compressed = extensible_header(0, 16, 2, 0);
  compressed.add_extra(22 + 5);
  compressed.wfx.dwChannelMask = 0;
  compressed.name_sub_format(0x0161);
  record->Init(128, compressed.plain());
  EXPECT_EQ(told(*record), "type 0, tag 353, 16 bits in 2, block 4, average 192000, flags 24, mask 0, extra 5");
  EXPECT_EQ(record->ExtraBytes()[0], 23);
  compressed.plain().cbSize = 21; // its extra bytes are a piece of the header
  record->Init(128, compressed.plain());
  EXPECT_EQ(told(*record), "type 0, tag 65534, 16 bits in 2, block 4, average 192000, flags 24, mask 0, extra 0");
  compressed.plain().cbSize = 22;
  compressed.wfx.SubFormat.Data3 = 7; // no pattern, no tag
  record->Init(128, compressed.plain());
  EXPECT_EQ(told(*record), "type 0, tag 0, 16 bits in 2, block 4, average 192000, flags 24, mask 0, extra 0");
}

TEST(WaveFormat, NamelessExtensibleHeadersAreToldByTheirBits) {
  const auto type_of = [](WORD bits, WORD extra, WORD block, DWORD average) {
    Header header;
    header.plain() = {0xFFFE, 2, 44100, average, block, bits, extra};
    Guarded record;
    record->Init(36, header.plain());
    return record->sampleType;
  };
  const std::pair<WORD, QVSAMPLETYPE> rows[] = {{8, QVSAMPLE_PCM8},     {16, QVSAMPLE_PCM16},   {24, QVSAMPLE_PCM24},
                                                {32, QVSAMPLE_FLOAT32}, {64, QVSAMPLE_FLOAT64}, {20, QVSAMPLE_NONE}};
  for (const auto& [bits, type] : rows) {
    const auto block = static_cast<WORD>(2 * bits); // bits, not bytes
    const DWORD average = 44100u * block;
    EXPECT_EQ(type_of(bits, 0, block, average), type) << bits;
    EXPECT_EQ(type_of(bits, 22, block, average), type) << bits;
    EXPECT_EQ(type_of(bits, 10, block, average), QVSAMPLE_NONE) << bits;
    EXPECT_EQ(type_of(bits, 0, block, average + 1), QVSAMPLE_NONE) << bits;
    EXPECT_EQ(type_of(bits, 0, block / 8, average / 8), QVSAMPLE_NONE) << "a sound header of " << bits;
  }
}

TEST(WaveFormat, Equality) {
  Header pcm = plain_header(1, 44100, 16, 2), adpcm = plain_header(2, 44100, 4, 2);
  adpcm.add_extra(8);
  const struct {
    const char* what;
    void (*change)(_qvwaveformat&);
    bool pcm_differs, adpcm_differs;
  } rows[] = {{"type", [](_qvwaveformat& f) { f.sampleType = QVSAMPLE_FLOAT32; }, true, true},
              {"tag", [](_qvwaveformat& f) { f.formatTag = 3; }, false, true},
              {"rate", [](_qvwaveformat& f) { f.samplesPerSec = 1; }, true, true},
              {"channels", [](_qvwaveformat& f) { f.channels = 1; }, true, true},
              {"average", [](_qvwaveformat& f) { f.avgBytesPerSec = 1; }, false, true},
              {"bits", [](_qvwaveformat& f) { f.bitsPerSample = 1; }, false, true},
              {"flag 8", [](_qvwaveformat& f) { f.flags ^= 8; }, true, true},
              {"flag 16", [](_qvwaveformat& f) { f.flags ^= 16; }, false, false},
              {"extra size", [](_qvwaveformat& f) { f.extraSize = 7; }, false, true},
              {"extra bytes", [](_qvwaveformat& f) { f.extra[1] = 99; }, false, true},
              {"the default mask", [](_qvwaveformat& f) { f.channelMask = 3; }, false, false},
              {"another mask", [](_qvwaveformat& f) { f.channelMask = 1; }, true, true}};
  for (const auto& row : rows) {
    for (const Header* const header : {&pcm, &adpcm}) {
      QVWAVEFORMATBUFFER a, b;
      a.format.Init(sizeof a, header->plain());
      b.format.Init(sizeof b, header->plain());
      ASSERT_TRUE(a.format == b.format);
      row.change(b.format);
      EXPECT_EQ(a.format == b.format, header == &pcm ? !row.pcm_differs : !row.adpcm_differs) << row.what;
    }
  }
  _qvwaveformat a, b;
  a.Init(44100, QVSAMPLE_PCM16, 40, 0, sizeof a);
  b.Init(44100, QVSAMPLE_PCM16, 40, 0xFFFFFFFF, sizeof b);
  EXPECT_TRUE(a == b) << "from 32 channels on the default is all ones";
}

TEST(WaveFormat, EqualityWithHeaders) {
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_FLOAT32, 2, 3, sizeof record);
  EXPECT_TRUE(record == plain_header(3, 48000, 32, 2).plain());
  EXPECT_TRUE(record == extensible_header(3, 32, 2, 3).plain());
  for (const Header& other : {plain_header(3, 44100, 32, 2), plain_header(1, 48000, 32, 2),
                              plain_header(3, 48000, 32, 1), extensible_header(3, 32, 2, 4)})
    EXPECT_FALSE(record == other.plain());
  const Header adpcm = plain_header(2, 44100, 4, 2);
  QVWAVEFORMATBUFFER compressed;
  compressed.format.Init(sizeof compressed, adpcm.plain());
  EXPECT_TRUE(compressed.format == adpcm.plain());
  Header other = adpcm;
  ++other.plain().nAvgBytesPerSec;
  EXPECT_FALSE(compressed.format == other.plain());
}
