// IFF chunks, and AIFF files described.
#include "tests/riff/containers.h"
#include "tests/riff/scratch_file.h"

#include "qv/wave_file.h"

#include <algorithm>
#include <tuple>

using namespace riff_test;

namespace {

Bytes be16(uint32_t value) { return reversed(u16(value)); }
Bytes be32(uint32_t value) { return reversed(u32(value)); }
constexpr auto be_header = header_in<Iff>;
constexpr auto be_chunk = chunk_in<Iff>;
Bytes form(std::string_view type, std::string_view body) {
  return be_header("FORM", static_cast<uint32_t>(body.size() + 4)) + Bytes(type) + Bytes(body);
}

/// 44,100 Hz.
const Bytes kRate = be16(0x400E) + be16(0xAC44) + Bytes(6, '\0');

Bytes common(uint32_t channels, uint32_t frames, uint32_t bits, std::string_view compression = "") {
  const Bytes name = compression.empty() ? "" : Bytes("\0\0", 2);
  return be_chunk("COMM", be16(channels) + be32(frames) + be16(bits) + kRate + Bytes(compression) + name);
}
Bytes sound(std::string_view audio) { return be_chunk("SSND", Bytes(8, '\0') + Bytes(audio)); }

TEST(Iff, ByteOrder) {
  BYTE bytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  iff_ByteSwap16(bytes + 1, 2); // at any address
  EXPECT_EQ(Bytes(bytes, bytes + 9), Bytes("\1\3\2\5\4\6\7\10\11"));
  iff_ByteSwap32(bytes + 1, 2);
  EXPECT_EQ(Bytes(bytes, bytes + 9), Bytes("\1\4\5\2\3\11\10\7\6"));
  aiff_WriteByteSwap16(bytes + 1, 0);
  aiff_WriteByteSwap32(bytes + 1, 1);
  EXPECT_EQ(Bytes(bytes, bytes + 5), Bytes("\1\3\2\5\4"));
}

TEST(Iff, HeadersAndWords) {
  const ScratchFile file;
  const QVIFFCHUNK chunk = {QVIFF_ID_COMM, 0x01020304};
  EXPECT_EQ(iff_WriteFileID(file, QVIFF_FORM_AIFF, 0x11223344), S_OK);
  EXPECT_EQ(iff_WriteChunk(file, &chunk), S_OK);
  EXPECT_EQ(iff_WriteDWORD(file, 0xAABBCCDD), S_OK);
  EXPECT_EQ(iff_WriteWORD(file, 0xEEFF), S_OK);
  EXPECT_EQ(file.contents(),
            be_header("FORM", 0x11223344) + "AIFF" + be_header("COMM", 0x01020304) + be32(0xAABBCCDD) + be16(0xEEFF));
  file.move_to(0);
  QVIFFCHUNK form = {}, header = {};
  DWORD type = 0, dword = 0;
  WORD word = 0;
  EXPECT_EQ(iff_ReadFormType(file, &form, &type), S_OK);
  EXPECT_EQ(std::tuple(form.id, form.size, type), std::tuple(QVIFF_ID_FORM, 0x11223344u, QVIFF_FORM_AIFF));
  EXPECT_EQ(iff_ReadChunkHdr(file, &header), S_OK);
  EXPECT_EQ(std::tuple(header.id, header.size), std::tuple(chunk.id, chunk.size));
  EXPECT_EQ(iff_ReadDWORD(file, &dword), S_OK);
  EXPECT_EQ(iff_ReadWORD(file, &word), S_OK);
  EXPECT_EQ(std::tuple(dword, word), std::tuple(0xAABBCCDDu, 0xEEFF));
  EXPECT_EQ(iff_ReadWORD(file, &word), QVERR_RIFF_READ);
  EXPECT_EQ(iff_ReadDWORD(file, &dword), QVERR_RIFF_READ);
  EXPECT_EQ(iff_ReadChunkHdr(file, &header), QVERR_RIFF_READ);
  EXPECT_EQ(iff_ReadChunkHdr(file, nullptr), E_INVALIDARG);
  file.move_to(12);
  EXPECT_EQ(iff_ReadFormType(file, &header, &type), QVERR_RIFF_WRONGFORM);
  file.move_to(0);
  EXPECT_EQ(iff_SkipChunk(file, 3), 4u);
  EXPECT_EQ(file.position(), 4);
  EXPECT_EQ(iff_SkipChunk(file, 0xFFFFFFFF), 0u);
  EXPECT_EQ(file.position(), 4 + (1ll << 32));
}

TEST(Iff, SearchAndDeletionAskForAForm) {
  const ScratchFile other(riff("WAVE", chunk("data", "x")));
  EXPECT_EQ(iff_FindChunkFromStart(other, QVIFF_ID_COMM, nullptr, nullptr), QVERR_RIFF_NOTRIFF);
  EXPECT_EQ(iff_DeleteChunk(other, QVIFF_ID_COMM, nullptr), QVERR_RIFF_NOTRIFF);
  const ScratchFile small(be_header("FORM", 9) + "AIFF" + be_chunk("COMM", "xx"));
  EXPECT_EQ(iff_DeleteChunk(small, QVIFF_ID_COMM, nullptr), QVERR_RIFF_NOTFOUND) << "5 bytes are no chunk";
  small.move_to(12);
  EXPECT_EQ(iff_SeekChunkHeader(small, QVIFF_ID_COMM, nullptr), S_OK);
  EXPECT_EQ(small.position(), 20);
}

TEST(Iff, Markers) {
  const Bytes marks = be_chunk("MARK", be16(4) + be16(1) + be32(100) + Bytes("\5start") + be16(7) + be32(0xFFFFFFFF) +
                                           Bytes("\4loop\0", 6) + be16(9) + be32(5) + Bytes("\0\0", 2) + be16(7) +
                                           be32(8) + Bytes("\3two"));
  const ScratchFile file(form("AIFF", common(1, 10, 16) + marks));
  QVIFFMARKER marker;
  const struct {
    WORD id;
    DWORD position;
    qv::WString name;
  } markers[] = {{7, 0xFFFFFFFF, QV_TEXT("loop")}, {1, 100, QV_TEXT("start")}, {9, 5, QV_TEXT("")}};
  for (const auto& [id, position, name] : markers) {
    ASSERT_EQ(iff_FindMarker(file, &marker, id), S_OK);
    EXPECT_TRUE(marker.id == id && marker.position == position && marker.name == name) << id;
  }
  EXPECT_EQ(iff_FindMarker(file, &marker, 2), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(iff_FindMarker(file, nullptr, 2), E_INVALIDARG);
  const Bytes name(255, '\xE9'); // 255 characters of the code page
  const ScratchFile longest(form("AIFF", be_chunk("MARK", be16(1) + be16(3) + be32(0) + "\xFF" + name)));
  ASSERT_EQ(iff_FindMarker(longest, &marker, 3), S_OK);
  EXPECT_EQ(qv::WString(marker.name), qv::WString(255, QV_TEXT('\u00E9')));
  const ScratchFile none(form("AIFF", common(1, 10, 16)));
  EXPECT_EQ(iff_FindMarker(none, &marker, 1), QVERR_RIFF_NOTFOUND);
  // Cut in the middle of a marker: by the chunk, then by the file.
  for (uint32_t size = 0; size < 14; ++size) {
    const Bytes chunk_bytes = be_chunk("MARK", marks.substr(8, size));
    const ScratchFile cut(form("AIFF", chunk_bytes));
    EXPECT_EQ(iff_FindMarker(cut, &marker, 1), QVERR_RIFF_NOTFOUND) << size;
    const ScratchFile cut_file(form("AIFF", be_header("MARK", 100) + marks.substr(8, size)));
    EXPECT_EQ(iff_FindMarker(cut_file, &marker, 1), QVERR_RIFF_READ) << size;
  }
}

WAVEFORMATEX format_of(WORD tag, WORD channels, WORD bits) {
  const auto align = static_cast<WORD>(std::max(bits / 8 * channels, 1));
  return {tag, channels, 44'100, align * 44'100u, align, bits, 0};
}

TEST(Aiff, RecognisedAndDescribed) {
  enum { kNone, kAiff, kAifc, kLittle, kOtherAifc }; // what a file is
  const struct {
    Bytes bytes;
    int kind;
    HRESULT result;
    WAVEFORMATEX format = {};
    DWORD frames = 0;
    ULONGLONG start = 0, bytes_of_audio = 0;
  } cases[] = {
      {form("AIFF", common(2, 2, 16) + sound("12345678")), kAiff, S_OK, format_of(0xFE02, 2, 16), 2, 54, 8},
      {form("AIFF", sound("1234") + common(1, 3, 8)), kAiff, S_OK, format_of(0xFE01, 1, 8), 3, 28, 3},
      {form("AIFF", common(0, 2, 16) + sound("1234")), kAiff, S_OK, format_of(0xFE02, 0, 16), 2, 54, 2},
      {form("AIFC", common(1, 2, 24, "sowt") + sound("123456")), kLittle, S_OK, format_of(1, 1, 24), 2, 60, 6},
      {form("AIFC", common(1, 2, 8, "sowt") + sound("12")), kLittle, S_OK, format_of(0xFE01, 1, 8), 2, 60, 2},
      {form("AIFC", common(1, 2, 16, "NONE") + sound("1234")), kAifc, S_OK, format_of(0xFE02, 1, 16), 2, 60, 4},
      // More frames are claimed than the file has, or than the chunk has.
      {form("AIFF", common(1, 1000, 16) + sound("1234")), kAiff, S_OK, format_of(0xFE02, 1, 16), 1000, 54, 4},
      {form("AIFF", common(1, 1000, 16) + sound("1234") + be_chunk("NAME", "behind")), kAiff, S_OK,
       format_of(0xFE02, 1, 16), 1000, 54, 4},
      {form("AIFF", sound("1234")), kAiff, QVERR_RIFF_NOTFOUND},
      {form("AIFF", common(1, 1, 16)), kAiff, QVERR_RIFF_NOTFOUND},
      {form("AIFF", be_chunk("COMM", "short") + sound("1234")), kAiff, QVERR_RIFF_BADSIZE},
      {form("AIFF", common(1, 1, 16) + be_chunk("SSND", "1234567")), kAiff, QVERR_RIFF_BADSIZE},
      {form("AIFC", be_chunk("FVER", "abcd") + common(1, 1, 16, "sowt")), kLittle, QVERR_RIFF_NOTFOUND},
      {form("AIFC", common(1, 1, 16, "ulaw") + sound("1234")), kOtherAifc, QVERR_RIFF_WRONGFORM},
      {form("AIFC", common(1, 1, 16)), kOtherAifc, QVERR_RIFF_WRONGFORM}, // no compression type
      {form("AIFC", sound("xx")), kOtherAifc, QVERR_RIFF_WRONGFORM},
      {be_header("FORM", 4) + "AIFC" + common(1, 1, 16, "NONE"), kOtherAifc, QVERR_RIFF_WRONGFORM}, // outside the form
      {form("8SVX", common(1, 1, 16, "NONE")), kNone, QVERR_RIFF_WRONGFORM},
      {riff("WAVE", ""), kNone, QVERR_RIFF_WRONGFORM},
      {"FORM", kNone, QVERR_RIFF_WRONGFORM},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& row = cases[i];
    ScratchFile file(row.bytes);
    LONG aifc = 5, little_endian = 5;
    DWORD size = 77, frames = 0;
    const LONG usable = row.kind != kNone && row.kind != kOtherAifc;
    file.move_to(3);
    EXPECT_EQ(iff_IsAIFFFileEx(file, &size, &aifc, &little_endian), usable);
    EXPECT_EQ(std::pair(aifc, little_endian), std::pair(LONG{row.kind >= kAifc}, LONG{row.kind == kLittle}));
    const bool is_form = row.bytes.starts_with("FORM") && row.bytes.size() >= 12;
    EXPECT_EQ(size, is_form ? u32_at(reversed(row.bytes.substr(4, 4)), 0) : 77);
    EXPECT_TRUE(aifc == 0 || file.position() == 3);
    EXPECT_EQ(iff_IsAIFFFile(file, nullptr), usable);

    WAVEFORMATEX format = {};
    ULONGLONG start = 0, bytes = 0;
    EXPECT_EQ(iff_GetAIFFWfx(file, &format, &frames, &start, &bytes), row.result);
    EXPECT_EQ(std::memcmp(&format, &row.format, sizeof format), 0);
    EXPECT_EQ(std::tuple(frames, start, bytes), std::tuple(row.frames, row.start, row.bytes_of_audio));
    EXPECT_TRUE(FAILED(row.result) || file.position() == static_cast<int64_t>(start));
    EXPECT_EQ(iff_GetAIFFWfx(file, &format, nullptr, nullptr, nullptr), row.result);
    EXPECT_EQ(iff_GetAIFFWfx(file, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    file.close();
    EXPECT_EQ(QvFileIsAiff(file.name().c_str()), usable);
  }
}

// A recording that was cut off: the form still claims what it was meant to hold.
TEST(Aiff, AFormLongerThanTheFile) {
  const Bytes body = "AIFF" + common(1, 2, 16) + be_chunk("NAME", "abc") + sound("1234");
  const ScratchFile file(be_header("FORM", 5000) + body);
  DWORD size = 0, remaining = 0, frames = 0;
  WAVEFORMATEX format;
  ULONGLONG bytes = 0;
  EXPECT_EQ(iff_IsAIFFFile(file, &size), 1);
  EXPECT_EQ(size, 5000u);
  EXPECT_EQ(iff_FindChunkFromStart(file, QVIFF_ID_SSND, &size, &remaining), S_OK);
  EXPECT_EQ(remaining, 5000 - 4 - (body.size() - 4 - 12));
  EXPECT_EQ(iff_FindChunkFromStart(file, QVIFF_ID_MARK, nullptr, &remaining), QVERR_RIFF_READ);
  EXPECT_EQ(remaining, 4996u) << "the whole form, after a failed read";
  EXPECT_EQ(iff_GetAIFFWfx(file, &format, &frames, nullptr, &bytes), S_OK);
  EXPECT_EQ(std::tuple(frames, bytes), std::tuple(2u, 4u));
  EXPECT_EQ(iff_DeleteChunk(file, QvIffId("NAME"), nullptr), S_OK);
  EXPECT_EQ(file.contents(), be_header("FORM", 5000 - 12) + "AIFF" + common(1, 2, 16) + sound("1234"));
}

TEST(Aiff, CutAfterEachByte) {
  const Bytes whole = form("AIFC", common(2, 4, 16, "sowt") + be_chunk("NAME", "abc") + sound("0123456789ABCDEF"));
  const size_t sound_at = whole.size() - 16;
  cut_after_each_byte(whole, 0, [&](const ScratchFile& file, size_t length) {
    WAVEFORMATEX format;
    ULONGLONG bytes = 99;
    // Recognised once the compression type is there; described once the sound's header is.
    EXPECT_EQ(iff_GetAIFFWfx(file, &format, nullptr, nullptr, &bytes), length < 12 + 8 + 22 ? QVERR_RIFF_WRONGFORM
                                                                       : length < sound_at  ? QVERR_RIFF_READ
                                                                                            : S_OK);
    EXPECT_EQ(bytes, length < sound_at ? 99 : length - sound_at);
  });
}

TEST(AiffRates, ThereAndBack) {
  for (DWORD rate = 1; rate <= 192'000; ++rate) {
    WORD words[5];
    aiff_CreateRate(rate, &words[0], &words[1], &words[2], &words[3], &words[4]);
    ASSERT_EQ(aiff_ConvertRate(words[0], words[1], words[2], words[3], words[4]), rate);
  }
}

TEST(AiffRates, Words) {
  const struct {
    DWORD rate;
    WORD words[5];
    DWORD back;
  } cases[] = {
      {44'100, {0x400E, 0xAC44, 0, 0, 0}, 44'100},
      {1, {16'383, 0x8000, 0, 0, 0}, 1},
      {0, {16'383, 0, 0, 0, 0}, 0},
      {96'001, {0x400F, 0xBB80, 0x8000, 0, 0}, 96'001},
      {384'000, {0x4011, 0xBB80, 0, 0, 0}, 192'000}, // the first double above 96,000
      {0xFFFFFFFF, {0x401E, 0xFFFF, 0xFFFF, 0, 0}, 131'071},
  };
  for (const auto& each : cases) {
    WORD words[5];
    aiff_CreateRate(each.rate, &words[0], &words[1], &words[2], &words[3], &words[4]);
    EXPECT_TRUE(std::equal(words, words + 5, each.words)) << each.rate;
    EXPECT_EQ(aiff_ConvertRate(words[0], words[1], words[2], words[3], words[4]), each.back) << each.rate;
  }
  EXPECT_EQ(aiff_ConvertRate(0xC00E, 0xAC44, 0, 0, 0), 44'100u) << "negative";
  EXPECT_EQ(aiff_ConvertRate(0xFFFF, 0, 0, 0, 0), 44'100u);
  EXPECT_EQ(aiff_ConvertRate(0x400E, 0xAC44, 0x8000, 0, 0), 44'100u) << "truncated";
  EXPECT_EQ(aiff_ConvertRate(0x3FFE, 0xC000, 0, 0, 0), 98'304u) << "below 1: doubled until it is large";
  EXPECT_EQ(aiff_ConvertRate(0x7FFF, 0, 0, 0, 0), 0u);
}

} // namespace
