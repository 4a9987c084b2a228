// Headers from records, from headers and from parts.
#include "tests/audio/headers.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

_qvwaveformat record_of(QVSAMPLETYPE type, WORD channels, DWORD mask) {
  _qvwaveformat record;
  record.Init(48000, type, channels, mask, sizeof record);
  return record;
}

Header written(const _qvwaveformat& record, QVWAVEFORMAT_COPY_DEST mode, DWORD size) {
  Header header;
  EXPECT_EQ(record.ToWfx(&header.plain(), size, mode), &header.plain());
  return header;
}

/// A compressed record with extra bytes.
struct Compressed : QVWAVEFORMATBUFFER {
  Compressed(WORD tag, WORD extra) {
    format.InitAsWfx(tag, 44100, 4, 2, 0xC, sizeof *this);
    format.extraSize = extra;
    format.cbStruct = 32u + extra;
    std::memset(format.extra, 'e', extra);
  }
};

void free_locked(WAVEFORMATEX* header) {
  const HGLOBAL handle = GlobalHandle(header);
  ASSERT_NE(handle, nullptr);
  EXPECT_FALSE(GlobalUnlock(handle));
  EXPECT_EQ(GlobalFree(handle), nullptr);
}

} // namespace

TEST(WaveHeader, CopyModesDecideWhetherItIsExtensible) {
  const struct {
    WORD channels;
    DWORD mask, flags, written_mask;
    bool extensible[5]; // by copy mode
  } rows[] = {
      {2, 0, 0, 3, {false, false, false, false, true}},      {2, 3, 0, 3, {false, false, false, false, true}},
      {2, 0xC, 0, 0xC, {true, true, false, false, true}},    {2, 3, 16, 3, {true, false, false, false, true}},
      {6, 0x3F, 0, 0x3F, {false, false, false, true, true}}, {6, 0x60F, 16, 0x60F, {true, true, false, true, true}}};
  for (const auto& row : rows) {
    for (uint32_t number = 0; number < 5; ++number) {
      const auto mode = static_cast<QVWAVEFORMAT_COPY_DEST>(number);
      _qvwaveformat record = record_of(QVSAMPLE_PCM16, row.channels, row.mask);
      record.flags |= row.flags;
      const Header plain = plain_header(1, 48000, 16, row.channels);
      const Header extensible = extensible_header(1, 16, row.channels, row.written_mask);
      EXPECT_TRUE(written(record, mode, 40) == (row.extensible[number] ? extensible : plain))
          << row.mask << " " << mode;
      EXPECT_TRUE(written(record, mode, 39) == plain) << row.mask << " " << mode;
    }
  }
}

TEST(WaveHeader, EveryTypeSurvivesTheWayThere) {
  for (const uint32_t value : {16u, 17u, 18u, 19u, 32u, 33u, 48u, 49u, 64u, 65u, 66u}) {
    const _qvwaveformat record = record_of(static_cast<QVSAMPLETYPE>(value), 2, 0);
    for (const auto mode : {QVWAVEFORMAT_COPY_PLAIN, QVWAVEFORMAT_COPY_EXTENSIBLE}) {
      const Header header = written(record, mode, 40);
      _qvwaveformat back;
      back.Init(sizeof back, header.plain());
      EXPECT_EQ(back.sampleType, value);
      EXPECT_TRUE(record == header.plain()) << value;
    }
  }
  const _qvwaveformat unpacked = record_of(QVSAMPLE_PCM24IN32, 2, 3);
  EXPECT_TRUE(written(unpacked, QVWAVEFORMAT_COPY_EXTENSIBLE, 40) == extensible_header(0xFE00, 32, 2, 3));
}

// Whatever the record says, nothing is written behind dstSize.
TEST(WaveHeader, NeverWritesBeyondTheDestination) {
  std::mt19937 random(4);
  for (int round = 0; round < 20000; ++round) {
    QVWAVEFORMATBUFFER record;
    std::memset(static_cast<void*>(&record), 0, sizeof record);
    record.format.InitAsWfx(static_cast<WORD>(random() % 5), random(), static_cast<WORD>(random() % 40),
                            static_cast<WORD>(random() % 40), random() % 3, sizeof record);
    record.format.flags |= random() % 2 * 16;
    record.format.extraSize = static_cast<WORD>(random() % 64);
    record.format.cbStruct = 32 + record.format.extraSize;
    uint8_t memory[160];
    std::memset(memory, 0xCD, sizeof memory);
    const DWORD size = random() % 100;
    QvAudio_GeneralCopyWfx(reinterpret_cast<WAVEFORMATEX*>(memory), size, record.format,
                           static_cast<QVWAVEFORMAT_COPY_DEST>(random() % 5));
    for (size_t i = size; i < sizeof memory; ++i)
      ASSERT_EQ(memory[i], 0xCD) << size;
    if (size < 18) continue;
    const auto* header = reinterpret_cast<const WAVEFORMATEX*>(memory);
    ASSERT_LE(header->cbSize, record.format.extraSize + 22);
  }
}

TEST(WaveHeader, CompressedHeadersKeepTheirExtraBytes) {
  Header header = plain_header(2, 44100, 4, 2), copy, part;
  header.add_extra(32);
  QvAudio_CopyWfx(&copy.plain(), sizeof copy, &header.plain(), QVWAVEFORMAT_COPY_AUTO);
  EXPECT_TRUE(copy == header);
  QvAudio_CopyWfx(&part.plain(), 18 + 10, &header.plain(), QVWAVEFORMAT_COPY_AUTO);
  header.bytes()[18 + 10] = 0;
  header.plain().cbSize = 10;
  EXPECT_EQ(std::memcmp(&part, &header, 18 + 10 + 1), 0) << "as many as fit";

  Compressed record(0x161, 3);
  Header masked = extensible_header(0x161, 4, 2, 0xC);
  masked.plain() = {0xFFFE, 2, 44100, 44100, 1, 4, 25};
  std::memcpy(masked.room, "eee", 3);
  EXPECT_TRUE(written(record.format, QVWAVEFORMAT_COPY_AUTO, 48) == masked);
  EXPECT_EQ(written(record.format, QVWAVEFORMAT_COPY_AUTO, 39).plain().wFormatTag, 0x161);
  EXPECT_EQ(written(record.format, QVWAVEFORMAT_COPY_PLAIN, 48).plain().wFormatTag, 0x161);
  record.format.channelMask = 3;
  EXPECT_EQ(written(record.format, QVWAVEFORMAT_COPY_EXTENSIBLE, 48).plain().wFormatTag, 0x161) << "told by its tag";
}

TEST(WaveHeader, AllocatedCopiesAreTheCallersToFree) {
  const _qvwaveformat record = record_of(QVSAMPLE_PCM16, 2, 0xC);
  const Header source = written(record, QVWAVEFORMAT_COPY_EXTENSIBLE, 40);
  const auto expect_copy = [](WAVEFORMATEX* copy, size_t bytes, const Header& expected) {
    EXPECT_EQ(GlobalSize(GlobalHandle(copy)), bytes);
    EXPECT_EQ(std::memcmp(copy, &expected, bytes), 0);
    free_locked(copy);
  };
  expect_copy(QvAudio_AllocAndCopyWfx(&source.plain(), QVWAVEFORMAT_COPY_EXTENSIBLE), 40, source);
  expect_copy(QvAudio_AllocAndCopyWfx(&source.plain(), QVWAVEFORMAT_COPY_PLAIN), 18, plain_header(1, 48000, 16, 2));
  expect_copy(QvAudio_AllocAndCopyWfx(&record, QVWAVEFORMAT_COPY_MASK), 40, source);
}

TEST(WaveHeader, PlainFromExtensible) {
  Header source = extensible_header(3, 32, 2, 3), compressed = plain_header(0x55, 44100, 0, 2), plain;
  plain.add_extra(12);
  EXPECT_EQ(QvAudio_CopyWfExtToWfx(&source.wfx, &plain.plain()), 0);
  Header expected = plain_header(3, 48000, 32, 2);
  EXPECT_EQ(std::memcmp(&plain, &expected, 18), 0);
  source.name_sub_format(0xFE00);
  const Header before = plain;
  EXPECT_NE(QvAudio_CopyWfExtToWfx(&source.wfx, &plain.plain()), 0);
  EXPECT_TRUE(plain == before) << "left alone";
  compressed.add_extra(12);
  Header as_wide, as_plain;
  EXPECT_EQ(QvAudio_CopyWfExtToWfx(&compressed.wfx, &as_plain.plain()), 0);
  EXPECT_EQ(std::memcmp(&as_plain, &compressed, 18), 0);
  EXPECT_EQ(as_plain.bytes()[18], 0) << "no extra bytes";
  QvAudio_CopyWfxToWfExt(&compressed.plain(), &as_wide.wfx);
  EXPECT_TRUE(as_wide == compressed);
}

TEST(WaveHeader, RecordToRecordFollowsTheModeAndTheCapacity) {
  const Compressed source(2, 32);
  Compressed copy(0, 0);
  std::memset(static_cast<void*>(&copy), 0xCD, sizeof copy);
  QvAudio_GeneralCopyQvWaveFormat(&copy.format, 34 + 20, source.format, QVWAVEFORMAT_COPY_AUTO);
  EXPECT_EQ(copy.format.ExtraCount(), 20u);
  EXPECT_EQ(reinterpret_cast<uint8_t*>(&copy)[54], 0xCD);
  QvAudio_GeneralCopyQvWaveFormat(&copy.format, sizeof copy, source.format, QVWAVEFORMAT_COPY_MASK);
  EXPECT_TRUE(copy.format.flags & QVWAVEFORMAT_EXTENSIBLE);
  EXPECT_EQ(copy.format.ExtraCount(), 32u);
  QvAudio_GeneralCopyQvWaveFormat(&copy.format, 32, source.format, QVWAVEFORMAT_COPY_PLAIN);
  EXPECT_EQ(copy.format.channelMask, 0u);
  EXPECT_EQ(copy.format.cbStruct, 32u);
}

TEST(WaveHeader, Questions) {
  const Header pcm = plain_header(1, 44100, 16, 2);
  Header odd = pcm;
  odd.plain().nBlockAlign = 9;
  EXPECT_TRUE(QvAudio_IsEqualFormat(&pcm.plain(), &odd.plain())) << "the block align is not compared";
  for (const Header& other : {plain_header(1, 44100, 8, 2), plain_header(3, 44100, 16, 2),
                              plain_header(1, 44101, 16, 2), plain_header(1, 44100, 16, 1)})
    EXPECT_FALSE(QvAudio_IsEqualFormat(&pcm.plain(), &other.plain()));
  for (const Header& plain : {pcm, plain_header(3, 44100, 32, 2), plain_header(0xFE02, 44100, 24, 2),
                              extensible_header(1, 16, 2, 3), extensible_header(3, 32, 2, 3)})
    EXPECT_FALSE(QvAudio_IsCompressed(&plain.plain())) << plain.plain().wFormatTag;
  for (const Header& compressed :
       {odd, plain_header(0x55, 44100, 0, 2), plain_header(0xFE03, 44100, 16, 2), extensible_header(2, 16, 2, 3)})
    EXPECT_TRUE(QvAudio_IsCompressed(&compressed.plain())) << compressed.plain().wFormatTag;
  Header shorter = extensible_header(1, 16, 2, 3);
  shorter.plain().cbSize = 21;
  EXPECT_TRUE(QvAudio_IsCompressedExtensible(&shorter.wfx));
}

TEST(WaveHeader, FixesOnlyPlainPcm) {
  Header twenty = plain_header(1, 44100, 20, 2), floats = plain_header(3, 44100, 32, 2);
  for (const BOOL changes : {TRUE, FALSE})
    EXPECT_EQ(QvAudio_FixBadWfx(&twenty.plain()), changes);
  EXPECT_EQ(twenty.plain().wBitsPerSample, 24);
  EXPECT_EQ(twenty.plain().nBlockAlign, 6);
  floats.plain().nBlockAlign = 5;
  EXPECT_EQ(QvAudio_FixBadWfx(&floats.plain()), 0);
  EXPECT_EQ(floats.plain().nBlockAlign, 5);
}

TEST(WaveHeader, FromParts) {
  const Header plain = plain_header(1, 48000, 24, 6), extensible = extensible_header(1, 24, 6, 0x60F);
  Header wide, narrow, typed;
  QvAudio_InitWfxFlex(&wide.plain(), 1, 48000, 24, 6, 0x60F, 40);
  EXPECT_TRUE(wide == extensible);
  QvAudio_InitWfxFlex(&narrow.plain(), 1, 48000, 24, 6, 0x60F, 39);
  EXPECT_TRUE(narrow == plain);
  QvAudio_InitWfx(&typed.plain(), 48000, QVSAMPLE_PCM24, 6);
  EXPECT_TRUE(typed == plain);
  _qvwaveformat_wfxplus plus;
  plus.Init(&plain.plain(), QVWAVEFORMAT_COPY_MULTI);
  EXPECT_EQ(plus.wfx.dwChannelMask, 0x3Fu);
  plus.Init(&plain.plain(), QVWAVEFORMAT_COPY_PLAIN);
  EXPECT_EQ(std::memcmp(&plus, &plain, 40), 0) << "nothing is left of the other";
  const _qvwaveformat record = record_of(QVSAMPLE_PCM24, 6, 0x60F);
  EXPECT_EQ(std::memcmp(&*_qvwaveformat_wfxcopyhelper(record), &plain, 40), 0);
  EXPECT_EQ(std::memcmp(&*_qvwaveformat_wfxecopyhelper(record), &extensible, 40), 0);
  EXPECT_EQ(QvAudio_GeneralCopyWfx(nullptr, 0, record, QVWAVEFORMAT_COPY_AUTO), nullptr) << "no room is left alone";
}

// A file may say 0xFFFE without the 22 bytes that come with it. As a header the record keeps the tag, in room enough
// for whoever then looks for the sub-format.
TEST(WaveHeader, ShortExtensibleHeadersStayReadable) {
  using Helper = _qvwaveformat_wfxcopyhelper;
  const Compressed record(0xFFFE, 0);
  ASSERT_GE(sizeof(Helper), sizeof(WAVEFORMATEXTENSIBLE));
  const std::unique_ptr<BYTE[]> memory(new BYTE[sizeof(Helper)]); // behind it the sanitizer watches
  std::memset(memory.get(), 0xCD, sizeof(Helper));
  const WAVEFORMATEX* const header = *new (memory.get()) Helper(record.format);
  EXPECT_EQ(header->wFormatTag, 0xFFFE);
  EXPECT_EQ(QvAudio_GetSampleType(header), QVSAMPLE_NONE);
  EXPECT_TRUE(std::all_of(memory.get() + 18, memory.get() + sizeof(Helper), [](BYTE each) { return each == 0; }));
  WAVEFORMATEX* const allocated = QvAudio_AllocAndCopyWfx(record.format, QVWAVEFORMAT_COPY_PLAIN);
  EXPECT_GE(GlobalSize(GlobalHandle(allocated)), 40u);
  free_locked(allocated);
}
