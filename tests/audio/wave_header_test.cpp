// Headers from records, from headers and from parts.
#include "qv/audio.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace {

bool is_extensible(const WAVEFORMATEX& format) { return format.wFormatTag == 0xFFFE; }

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
    DWORD mask, flags;
    bool expected[5]; // by copy mode
  } rows[] = {{2, 0, 0, {false, false, false, false, true}},   {2, 3, 0, {false, false, false, false, true}},
              {2, 0xC, 0, {true, true, false, false, true}},   {2, 3, 16, {true, false, false, false, true}},
              {6, 0x3F, 0, {false, false, false, true, true}}, {6, 0x60F, 16, {true, true, false, true, true}}};
  for (const auto& row : rows) {
    for (uint32_t mode = 0; mode < 5; ++mode) {
      _qvwaveformat record;
      record.Init(48000, QVSAMPLE_PCM16, row.channels, row.mask, sizeof record);
      record.flags |= row.flags;
      WAVEFORMATEXTENSIBLE header{};
      record.ToWfx(&header.Format, sizeof header, static_cast<QVWAVEFORMAT_COPY_DEST>(mode));
      EXPECT_EQ(is_extensible(header.Format), row.expected[mode])
          << row.channels << " " << row.mask << " mode " << mode;
      if (is_extensible(header.Format)) {
        EXPECT_EQ(header.Format.cbSize, 22);
        EXPECT_EQ(header.dwChannelMask, row.mask != 0 ? row.mask : (1u << row.channels) - 1);
        EXPECT_EQ(header.SubFormat.Data1, 1u);
        EXPECT_EQ(header.Samples.wValidBitsPerSample, 16);
      }
      EXPECT_EQ(header.Format.nBlockAlign, row.channels * 2);
    }
  }
}

TEST(WaveHeader, EveryTypeSurvivesTheWayThere) {
  for (const uint32_t value : {16u, 17u, 18u, 19u, 32u, 33u, 48u, 49u, 64u, 65u, 66u}) {
    for (const auto mode : {QVWAVEFORMAT_COPY_PLAIN, QVWAVEFORMAT_COPY_EXTENSIBLE}) {
      _qvwaveformat record, back;
      record.Init(44100, static_cast<QVSAMPLETYPE>(value), 2, 0, sizeof record);
      WAVEFORMATEXTENSIBLE header{};
      record.ToWfx(&header.Format, sizeof header, mode);
      back.Init(sizeof back, header.Format);
      EXPECT_EQ(back.sampleType, value);
      EXPECT_TRUE(record == header.Format) << value;
      if (mode == QVWAVEFORMAT_COPY_EXTENSIBLE && value == 48) {
        EXPECT_EQ(header.SubFormat.Data1, 0xFE00u);
        EXPECT_EQ(header.Format.wBitsPerSample, 32);
      }
    }
  }
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
  struct {
    WAVEFORMATEX format{2, 2, 44100, 44359, 2048, 4, 32};
    BYTE extra[64]{};
  } header;
  for (BYTE i = 0; i < 32; ++i)
    header.extra[i] = static_cast<BYTE>(i + 1);
  struct {
    WAVEFORMATEX format;
    BYTE extra[64];
  } copy;
  std::memset(static_cast<void*>(&copy), 0xCD, sizeof copy);
  QvAudio_CopyWfx(&copy.format, sizeof copy, &header.format, QVWAVEFORMAT_COPY_AUTO);
  EXPECT_EQ(std::memcmp(&copy, &header, 18 + 32), 0);
  QvAudio_CopyWfx(&copy.format, 18 + 10, &header.format, QVWAVEFORMAT_COPY_AUTO);
  EXPECT_EQ(copy.format.cbSize, 10) << "as many as fit";
}

TEST(WaveHeader, CompressedHeadersWithAMaskBecomeExtensible) {
  QVWAVEFORMATBUFFER record;
  record.format.InitAsWfx(0x161, 48000, 16, 2, 0xC, sizeof record);
  record.format.extraSize = 3;
  record.format.cbStruct = 35;
  std::memcpy(record.format.extra, "abc", 3);
  struct {
    WAVEFORMATEXTENSIBLE format;
    BYTE extra[8];
  } header{};
  QvAudio_GeneralCopyWfx(&header.format.Format, sizeof header, record.format, QVWAVEFORMAT_COPY_AUTO);
  EXPECT_TRUE(is_extensible(header.format.Format));
  EXPECT_EQ(header.format.Format.cbSize, 25);
  EXPECT_EQ(header.format.SubFormat.Data1, 0x161u);
  EXPECT_EQ(header.format.dwChannelMask, 0xCu);
  EXPECT_EQ(std::memcmp(header.extra, "abc", 3), 0);
  for (const auto& [size, mode] :
       {std::pair<DWORD, QVWAVEFORMAT_COPY_DEST>{39, QVWAVEFORMAT_COPY_AUTO}, {48, QVWAVEFORMAT_COPY_PLAIN}}) {
    QvAudio_GeneralCopyWfx(&header.format.Format, size, record.format, mode);
    EXPECT_EQ(header.format.Format.wFormatTag, 0x161) << size;
  }
}

TEST(WaveHeader, AllocatedCopiesAreTheCallersToFree) {
  WAVEFORMATEXTENSIBLE source{};
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_PCM16, 2, 0xC, sizeof record);
  record.ToWfx(&source.Format, sizeof source, QVWAVEFORMAT_COPY_EXTENSIBLE);
  WAVEFORMATEX* exact = QvAudio_AllocAndCopyWfx(&source.Format, QVWAVEFORMAT_COPY_EXTENSIBLE);
  EXPECT_EQ(std::memcmp(exact, &source, sizeof source), 0);
  EXPECT_EQ(GlobalSize(GlobalHandle(exact)), sizeof source);
  free_locked(exact);
  WAVEFORMATEX* plain = QvAudio_AllocAndCopyWfx(&source.Format, QVWAVEFORMAT_COPY_PLAIN);
  EXPECT_EQ(plain->wFormatTag, 1);
  EXPECT_EQ(plain->cbSize, 0);
  free_locked(plain);
  WAVEFORMATEX* from_record = QvAudio_AllocAndCopyWfx(&record, QVWAVEFORMAT_COPY_MASK);
  EXPECT_TRUE(is_extensible(*from_record));
  free_locked(from_record);
}

TEST(WaveHeader, PlainFromExtensible) {
  WAVEFORMATEXTENSIBLE source{};
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_FLOAT32, 2, 0, sizeof record);
  record.ToWfx(&source.Format, sizeof source, QVWAVEFORMAT_COPY_EXTENSIBLE);
  WAVEFORMATEX plain;
  std::memset(static_cast<void*>(&plain), 0xCD, sizeof plain);
  EXPECT_EQ(QvAudio_CopyWfExtToWfx(&source, &plain), 0);
  EXPECT_EQ(plain.wFormatTag, 3);
  EXPECT_EQ(plain.cbSize, 0);
  source.SubFormat.Data1 = 0xFE00;
  std::memset(static_cast<void*>(&plain), 0xCD, sizeof plain);
  EXPECT_NE(QvAudio_CopyWfExtToWfx(&source, &plain), 0);
  EXPECT_EQ(plain.nChannels, 0xCDCD) << "left alone";
  WAVEFORMATEXTENSIBLE compressed{};
  compressed.Format = {0x55, 2, 44100, 16000, 1, 0, 12};
  EXPECT_EQ(QvAudio_CopyWfExtToWfx(&compressed, &plain), 0);
  EXPECT_EQ(plain.cbSize, 12);
  WAVEFORMATEXTENSIBLE wide;
  std::memset(static_cast<void*>(&wide), 0xCD, sizeof wide);
  QvAudio_CopyWfxToWfExt(&compressed.Format, &wide);
  EXPECT_EQ(std::memcmp(&wide, &compressed, 30), 0);
  EXPECT_EQ(reinterpret_cast<uint8_t*>(&wide)[30], 0xCD);
}

TEST(WaveHeader, RecordToRecordFollowsTheModeAndTheCapacity) {
  QVWAVEFORMATBUFFER source;
  source.format.InitAsWfx(2, 44100, 4, 2, 0xC, sizeof source);
  source.format.extraSize = 32;
  source.format.cbStruct = 64;
  QVWAVEFORMATBUFFER copy;
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
  WAVEFORMATEX a{1, 2, 44100, 176400, 4, 16, 0};
  WAVEFORMATEX b = a;
  b.nBlockAlign = 9;
  EXPECT_TRUE(QvAudio_IsEqualFormat(&a, &b)) << "the block align is not compared";
  EXPECT_FALSE(QvAudio_IsCompressed(&a));
  EXPECT_TRUE(QvAudio_IsCompressed(&b));
  b.wBitsPerSample = 8;
  EXPECT_FALSE(QvAudio_IsEqualFormat(&a, &b));
  WAVEFORMATEX mp3{0x55, 2, 44100, 16000, 1, 0, 12};
  EXPECT_TRUE(QvAudio_IsCompressed(&mp3));
  WAVEFORMATEX private_tag{0xFE02, 2, 44100, 0, 6, 24, 0};
  EXPECT_FALSE(QvAudio_IsCompressed(&private_tag));
  WAVEFORMATEX unknown_tag{0xFE03, 2, 44100, 0, 4, 16, 0};
  EXPECT_TRUE(QvAudio_IsCompressed(&unknown_tag));
  WAVEFORMATEXTENSIBLE ext{};
  _qvwaveformat record;
  record.Init(44100, QVSAMPLE_PCM16, 2, 0, sizeof record);
  record.ToWfx(&ext.Format, sizeof ext, QVWAVEFORMAT_COPY_EXTENSIBLE);
  EXPECT_FALSE(QvAudio_IsCompressed(&ext.Format));
  ext.Format.cbSize = 21;
  EXPECT_TRUE(QvAudio_IsCompressedExtensible(&ext));
  ext.Format.cbSize = 22;
  ext.SubFormat.Data1 = 2;
  EXPECT_TRUE(QvAudio_IsCompressed(&ext.Format));
}

TEST(WaveHeader, FixesOnlyPlainPcm) {
  WAVEFORMATEX twenty{1, 2, 44100, 0, 5, 20, 0};
  EXPECT_EQ(QvAudio_FixBadWfx(&twenty), 1);
  EXPECT_EQ(twenty.wBitsPerSample, 24);
  EXPECT_EQ(twenty.nBlockAlign, 6);
  EXPECT_EQ(QvAudio_FixBadWfx(&twenty), 0);
  WAVEFORMATEX floats{3, 2, 44100, 0, 5, 32, 0};
  EXPECT_EQ(QvAudio_FixBadWfx(&floats), 0);
  EXPECT_EQ(floats.nBlockAlign, 5);
}

TEST(WaveHeader, FromParts) {
  WAVEFORMATEXTENSIBLE header{};
  QvAudio_InitWfxFlex(&header.Format, 1, 48000, 24, 6, 0x60F, sizeof header);
  EXPECT_TRUE(is_extensible(header.Format));
  EXPECT_EQ(header.dwChannelMask, 0x60Fu);
  EXPECT_EQ(header.Format.nAvgBytesPerSec, 48000u * 18);
  QvAudio_InitWfxFlex(&header.Format, 1, 48000, 24, 6, 0x60F, 18);
  EXPECT_EQ(header.Format.wFormatTag, 1);
  _qvwaveformat_wfxplus plus;
  plus.Init(&header.Format, QVWAVEFORMAT_COPY_MULTI);
  EXPECT_TRUE(is_extensible(plus.wfx.Format));
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_PCM24, 6, 0x3F, sizeof record);
  EXPECT_EQ((*_qvwaveformat_wfxcopyhelper(record)).wFormatTag, 1);
  EXPECT_EQ((*_qvwaveformat_wfxecopyhelper(record)).dwChannelMask, 0x3Fu);
}

// A file may say 0xFFFE without the 22 bytes that come with it. As a header the record keeps the tag, in room enough
// for whoever then looks for the sub-format.
TEST(WaveHeader, ShortExtensibleHeadersStayReadable) {
  const struct {
    WAVEFORMATEX format{0xFFFE, 2, 44100, 88200, 4, 16, 21};
    BYTE extra[22]{1, 2, 3, 4, 5, 6, 7};
  } shorter;
  QVWAVEFORMATBUFFER record;
  record.format.Init(sizeof record, shorter.format);
  EXPECT_EQ(record.format.FormatTag(), 0xFFFEu);
  EXPECT_EQ(record.format.ExtraCount(), 0u) << "they are a piece of the header";
  using Helper = _qvwaveformat_wfxcopyhelper;
  ASSERT_GE(sizeof(Helper), sizeof(WAVEFORMATEXTENSIBLE));
  const std::unique_ptr<BYTE[]> memory(new BYTE[sizeof(Helper)]); // behind it the sanitizer watches
  std::memset(memory.get(), 0xCD, sizeof(Helper));
  const auto* const helper = new (memory.get()) Helper(record.format);
  const WAVEFORMATEX* const header = *helper;
  EXPECT_EQ(header->wFormatTag, 0xFFFE);
  EXPECT_EQ(QvAudio_GetSampleType(header), QVSAMPLE_NONE);
  EXPECT_TRUE(
      std::all_of(memory.get() + sizeof(WAVEFORMATEX), memory.get() + sizeof(Helper), [](BYTE b) { return b == 0; }));
}

// An input of the fuzz target: nowhere to write to, and nothing to write.
TEST(WaveHeader, NoDestinationOfNoSizeIsLeftAlone) {
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_PCM16, 2, 0, sizeof record);
  EXPECT_EQ(QvAudio_GeneralCopyWfx(nullptr, 0, record, QVWAVEFORMAT_COPY_AUTO), nullptr);
}
