// Headers of wave files: made, inserted, recognised, repaired.
#include "tests/riff/containers.h"
#include "tests/riff/scratch_file.h"

#include "qv/wave_file.h"

using namespace riff_test;

namespace {

WAVEFORMATEX format_of(WORD tag, WORD channels, DWORD rate, WORD bits) {
  const auto align = static_cast<WORD>(bits / 8 * channels);
  return {tag, channels, rate, align * rate, align, bits, 0};
}

const WAVEFORMATEX kStereo = format_of(1, 2, 44'100, 16);

Bytes record_bytes(const WAVEFORMATEX& format) {
  return u16(format.wFormatTag) + u16(format.nChannels) + u32(format.nSamplesPerSec) + u32(format.nAvgBytesPerSec) +
         u16(format.nBlockAlign) + u16(format.wBitsPerSample) + u16(0);
}

/// What a header is made of in each container. The library's functions get their arguments in 32 bits.
struct RiffWave : Riff {
  static constexpr const char* kJunk = "JUNK";
  static constexpr DWORD kRecord = 20, kFormatEnd = 38, kPlain = 46, kJunked = 54, kMark = 4;
  static constexpr int64_t kNoSize = 0xFFFFFFFF; ///< cannot be rounded up
  static constexpr auto initialise =
      static_cast<HRESULT (*)(const WCHAR*, const WAVEFORMATEX*, DWORD)>(QvInitializeWav);
  static HRESULT with_junk(const WCHAR* name, int64_t size) {
    return QvInitializeWavWithJunk(name, &kStereo, CREATE_NEW, static_cast<DWORD>(size));
  }
  static constexpr auto insert = static_cast<HRESULT (*)(HANDLE, const WAVEFORMATEX*, DWORD, DWORD)>(QvInsertWavHeader);
  static constexpr auto fix = static_cast<HRESULT (*)(HANDLE, const WAVEFORMATEX*, DWORD)>(QvFixTrashedWav);
};

struct Wave64Wave : Wave64 {
  static constexpr const char* kJunk = "junk";
  static constexpr DWORD kRecord = 64, kFormatEnd = 88, kPlain = 112, kJunked = 136, kMark = 16;
  static constexpr int64_t kNoSize = -8;
  static constexpr auto initialise =
      static_cast<HRESULT (*)(const WCHAR*, const WAVEFORMATEX*, DWORD)>(QvInitializeWav64);
  static HRESULT with_junk(const WCHAR* name, int64_t size) {
    return QvInitializeWav64WithJunk(name, &kStereo, CREATE_NEW, size);
  }
  static constexpr auto insert =
      static_cast<HRESULT (*)(HANDLE, const WAVEFORMATEX*, ULONGLONG, ULONGLONG)>(QvInsertW64Header);
  static constexpr auto fix = static_cast<HRESULT (*)(HANDLE, const WAVEFORMATEX*, ULONGLONG)>(QvFixTrashedW64);
};

/// A header that ends at `start`, byte by byte.
template <class C>
Bytes wave_header(const WAVEFORMATEX& format, uint64_t data_size, uint64_t start) {
  Bytes bytes = header_in<C>(C::kFile, start + data_size - C::kHeader) + C::code(C::kForm);
  bytes += chunk_in<C>("fmt ", record_bytes(format));
  if (start > C::kPlain) bytes += chunk_in<C>(C::kJunk, Bytes(start - C::kJunked, '\0'));
  return bytes + header_in<C>("data", data_size);
}

/// What a header over a file's start makes of it.
template <class C>
Bytes with_header(Bytes bytes, const WAVEFORMATEX& format, uint64_t data_size, uint64_t start) {
  bytes.resize(std::max<size_t>(bytes.size(), start));
  return bytes.replace(0, start, wave_header<C>(format, data_size, start));
}

template <class C>
class WaveFiles : public testing::Test {};
using Both = testing::Types<RiffWave, Wave64Wave>;
TYPED_TEST_SUITE(WaveFiles, Both);

TYPED_TEST(WaveFiles, InitialisedInAcceptableFormats) {
  using C = TypeParam;
  const auto aligned = [](WORD tag, WORD bits, WORD align, WORD extra) {
    WAVEFORMATEX format = format_of(tag, 2, 44'100, bits);
    format.nBlockAlign = align;
    format.cbSize = extra;
    return format;
  };
  const struct {
    WAVEFORMATEX format;
    HRESULT result;
  } formats[] = {{kStereo, S_OK},
                 {aligned(3, 32, 5, 0), S_OK}, // only PCM is looked at
                 {aligned(1, 16, 4, 2), QVERR_BADFORMAT},
                 {aligned(1, 16, 3, 0), QVERR_BADFORMAT},
                 {aligned(1, 20, 4, 0), QVERR_BADFORMAT},
                 {aligned(1, 20, 6, 0), QVERR_BADFORMAT}};
  ScratchFile file;
  for (const auto& row : formats) {
    file.erase();
    EXPECT_EQ(C::initialise(file.name().c_str(), &row.format, CREATE_NEW), row.result);
    EXPECT_EQ(file.exists(), SUCCEEDED(row.result)) << "nothing is created for a refused call";
    if (FAILED(row.result)) continue;
    Bytes expected = wave_header<C>(row.format, 0, C::kPlain);
    EXPECT_EQ(expected.size(), C::kPlain);
    if (C::kAlign == 8) expected.replace(16, 8, u64(130)); // as it has always been
    EXPECT_EQ(file.contents(), expected);
  }
  EXPECT_EQ(C::initialise(nullptr, &kStereo, CREATE_NEW), E_INVALIDARG);
  EXPECT_EQ(C::initialise(file.name().c_str(), nullptr, CREATE_NEW), E_INVALIDARG);
  for (const int64_t size : {int64_t{C::kJunked} - C::kAlign, int64_t{C::kJunked} - C::kAlign + 1, int64_t{4096},
                             int64_t{4089}, int64_t{200'001}, C::kNoSize}) {
    SCOPED_TRACE(size);
    const int64_t start = (size + C::kAlign - 1) / C::kAlign * C::kAlign;
    const bool refused = start < C::kJunked || size == C::kNoSize;
    file.erase();
    EXPECT_EQ(C::with_junk(file.name().c_str(), size), refused ? E_INVALIDARG : S_OK);
    EXPECT_EQ(file.exists(), !refused);
    if (!refused) EXPECT_EQ(file.contents() == wave_header<C>(kStereo, 0, static_cast<size_t>(start)), true);
  }
}

TEST(WaveCreation, Modes) {
  ScratchFile file;
  const qv::WString name = file.name();
  const Bytes plain = wave_header<RiffWave>(kStereo, 0, 46);
  for (const DWORD mode : {CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING})
    for (const bool over : {false, true}) { // a longer file
      SCOPED_TRACE(testing::Message() << mode << (over ? " over a file" : ""));
      file.erase();
      if (over) ASSERT_EQ(QvInitializeWavWithJunk(name.c_str(), &kStereo, CREATE_NEW, 500), S_OK);
      const bool refused = over ? mode == CREATE_NEW : mode == OPEN_EXISTING || mode == TRUNCATE_EXISTING;
      EXPECT_EQ(QvInitializeWav(name.c_str(), &kStereo, mode), refused ? QVERR_FILE_OPEN : S_OK);
      if (!refused) EXPECT_EQ(file.contents(), plain) << "what was there is gone";
    }
  _qvwaveformat record;
  record.Init(44'100, QVSAMPLE_PCM16, 2, 0, sizeof record);
  EXPECT_EQ(QvInitializeWav(name.c_str(), record, CREATE_ALWAYS), S_OK);
  EXPECT_EQ(file.contents(), plain);
}

TYPED_TEST(WaveFiles, HeadersInserted) {
  using C = TypeParam;
  WAVEFORMATEX wrong = kStereo;
  wrong.cbSize = 22;
  const struct {
    DWORD start, file;
    HRESULT result;
    const WAVEFORMATEX* format = &kStereo;
  } cases[] = {
      {C::kPlain, 200, S_OK},
      {C::kPlain, C::kPlain, S_OK},
      {C::kJunked, 200, S_OK},
      {C::kJunked + C::kAlign, 200, S_OK},
      {70'000, C::kPlain, S_OK}, // the file grows
      {C::kPlain, C::kPlain - 1, QVERR_RIFF_BADSIZE},
      {C::kPlain + C::kAlign, 200, QVERR_RIFF_BADSIZE}, // no room for a junk chunk
      {C::kPlain - C::kAlign, 200, QVERR_RIFF_BADSIZE},
      {C::kJunked + 1, 200, QVERR_RIFF_BADSIZE},
      {C::kPlain, 200, QVERR_BADFORMAT, &wrong},
      {C::kPlain, 200, E_INVALIDARG, nullptr},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.start);
    const Bytes before(row.file, 'a');
    const ScratchFile file(before);
    file.move_to(7);
    EXPECT_EQ(C::insert(file, row.format, 1000, row.start), row.result);
    EXPECT_EQ(file.position(), 7);
    const bool done = row.result == S_OK;
    EXPECT_EQ(file.contents() == (done ? with_header<C>(before, kStereo, 1000, row.start) : before), true);
  }
  const ScratchFile file(Bytes(200, 'a'));
  EXPECT_EQ(C::insert(file, &kStereo, 0xFFFFFFF0, C::kJunked), S_OK);
  const uint64_t whole = 0xFFFFFFF0ull + C::kJunked; // in RIFF more than the field holds
  EXPECT_EQ(file.contents().substr(0, C::kHeader),
            C::kAlign == 2 ? header("RIFF", 0xFFFFFFFF) : header64("riff", whole));
}

/// So that a record that is not zeroed shows.
[[gnu::noinline]] void dirty_stack() {
  volatile char junk[4096];
  for (volatile char& byte : junk)
    byte = '\x5A';
}

TEST(WaveFormats, RecognisedReadAndReplaced) {
  const WAVEFORMATEX mono = format_of(1, 1, 8'000, 8);
  WAVEFORMATEX with_extra = mono;
  with_extra.cbSize = 2;
  const Bytes pcm = record_bytes(kStereo), short_pcm = pcm.substr(0, 16);
  const Bytes adpcm = record_bytes(format_of(2, 2, 44'100, 4));
  // An extensible header is taken by its GUID, which is read as zeros where the chunk is too short for what it claims.
  const Bytes extensible = record_bytes(format_of(0xFFFE, 2, 44'100, 16)).substr(0, 16) + u16(22);
  const Bytes pcm_guid = Bytes("\1\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 16);
  constexpr HRESULT kBadSize = QVERR_RIFF_BADSIZE, kNotFound = QVERR_RIFF_NOTFOUND, kNotRiff = QVERR_RIFF_NOTRIFF;
  const struct {
    Bytes bytes;
    LONG plain, compressed, wave64;
    HRESULT get, set, set_extra;
  } cases[] = {
      {riff("WAVE", chunk("fmt ", pcm) + chunk("data", "")), 1, 1, 0, S_OK, S_OK, S_OK},
      {riff("WAVE", chunk("LIST", "INFO") + chunk("fmt ", short_pcm)), 1, 1, 0, S_OK, S_OK, kBadSize},
      {riff("WAVE", chunk("fmt ", adpcm)), 0, 1, 0, S_OK, S_OK, S_OK},
      {riff("WAVE", chunk("fmt ", extensible + Bytes(6, '\0') + pcm_guid)), 1, 1, 0, S_OK, kBadSize, kBadSize},
      {riff("WAVE", chunk("fmt ", extensible)) + Bytes(6, '\0') + pcm_guid, 0, 1, 0, S_OK, S_OK, S_OK},
      {riff("WAVE", chunk("fmt ", pcm.substr(0, 15))), 0, 0, 0, kBadSize, kBadSize, kBadSize},
      {riff("WAVE", header("fmt ", 18) + pcm.substr(0, 17)), 0, 0, 0, QVERR_RIFF_READ, S_OK, S_OK},
      {riff("WAVE", chunk("data", "")), 0, 0, 0, kNotFound, kNotFound, kNotFound},
      {riff("AVI ", chunk("fmt ", pcm)), 0, 0, 0, QVERR_RIFF_WRONGFORM, QVERR_RIFF_WRONGFORM, QVERR_RIFF_WRONGFORM},
      // Outside the RIFF size.
      {header("RIFF", 4) + "WAVE" + chunk("fmt ", pcm), 0, 0, 0, kNotFound, kNotFound, kNotFound},
      {"", 0, 0, 0, QVERR_RIFF_READ, QVERR_RIFF_READ, QVERR_RIFF_READ},
      {wave64(chunk64("junk", "x") + chunk64("fmt ", short_pcm)), 0, 0, 1, kNotRiff, kNotRiff, kNotRiff},
      {wave64(chunk64("fmt ", pcm.substr(0, 15))), 0, 0, 0, kNotRiff, kNotRiff, kNotRiff},
      {wave64(chunk64("data", "")), 0, 0, 0, kNotRiff, kNotRiff, kNotRiff},
      {header64("riff", 100) + guid("junk") + chunk64("fmt ", pcm), 0, 0, 0, kNotRiff, kNotRiff, kNotRiff},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& row = cases[i];
    ScratchFile file(row.bytes);
    const qv::WString name = file.name();
    file.move_to(5);
    const size_t at = row.bytes.find("fmt ") + 8;
    WAVEFORMATEX format = mono;
    dirty_stack();
    EXPECT_EQ(QvGetFileWfx(file, &format), row.get);
    Bytes record = record_bytes(mono);
    if (SUCCEEDED(row.get)) record = row.bytes.substr(at, std::min(u32_at(row.bytes, at - 4), 18u));
    record.resize(sizeof format); // zeros behind a shorter chunk
    EXPECT_EQ(std::memcmp(&format, record.data(), sizeof format), 0);
    file.close();
    EXPECT_EQ(QvFileIsWave(name.c_str(), FALSE), row.plain);
    EXPECT_EQ(QvFileIsWave(name.c_str(), TRUE), row.compressed);
    EXPECT_EQ(QvFileIsWave64(name.c_str()), row.wave64);
    const ScratchFile writable(row.bytes);
    writable.move_to(5);
    EXPECT_EQ(QvSetFileWfx(writable, &with_extra), row.set_extra);
    EXPECT_EQ(QvSetFileWfx(writable, &mono), row.set);
    EXPECT_EQ(writable.position(), 5);
    Bytes expected = row.bytes;
    if (SUCCEEDED(row.set))
      expected.replace(at, u32_at(expected, at - 4), record_bytes(mono).substr(0, u32_at(expected, at - 4)));
    EXPECT_EQ(writable.contents() == expected, true);
    EXPECT_EQ(QvGetFileWfx(writable, nullptr), E_INVALIDARG);
    EXPECT_EQ(QvSetFileWfx(writable, static_cast<const WAVEFORMATEX*>(nullptr)), E_INVALIDARG);
  }
  EXPECT_EQ(QvFileIsWave(QV_TEXT("/no/such/file"), TRUE), 0);
  EXPECT_EQ(QvFileIsWave64(nullptr), 0);
}

TYPED_TEST(WaveFiles, RecordsMended) {
  using C = TypeParam;
  const WAVEFORMATEX hint = format_of(1, 1, 8'000, 24), float_hint = format_of(3, 1, 8'000, 64);
  const WAVEFORMATEX no_bits = format_of(1, 2, 44'100, 0), no_channels = format_of(1, 0, 44'100, 16);
  const WAVEFORMATEX nonsense = format_of(1, 0, 1'000'000, 12);
  const struct {
    WAVEFORMATEX damaged;
    const WAVEFORMATEX* hint;
    WAVEFORMATEX mended; ///< without a block align: refused
  } cases[] = {
      {nonsense, nullptr, format_of(1, 2, 44'100, 16)},
      {nonsense, &hint, format_of(1, 1, 8'000, 24)},
      {nonsense, &no_bits, {}},
      {nonsense, &no_channels, {}},
      {format_of(1, 2, 192'000, 8), &hint, format_of(1, 2, 192'000, 8)},
      {format_of(1, 1, 192'001, 32), nullptr, format_of(1, 1, 44'100, 32)},
      {format_of(1, 1, 2'000, 24), nullptr, format_of(1, 1, 2'000, 24)},
      {format_of(1, 1, 1'999, 24), nullptr, format_of(1, 1, 44'100, 24)},
      {format_of(0xFFFE, 6, 48'000, 16), nullptr, format_of(1, 2, 48'000, 16)},
      {format_of(3, 2, 48'000, 16), nullptr, format_of(3, 2, 48'000, 32)},
      {format_of(3, 2, 48'000, 64), nullptr, format_of(3, 2, 48'000, 64)},
      {format_of(3, 2, 48'000, 16), &float_hint, format_of(3, 2, 48'000, 64)},
      {format_of(9, 2, 48'000, 16), &float_hint, format_of(3, 2, 48'000, 64)},
      {format_of(1, 1, 8'000, 64), &float_hint, format_of(1, 1, 8'000, 32)},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& [damaged, given, mended] = cases[i];
    const Bytes before = wave_header<C>(damaged, 5, C::kPlain) + Bytes(1007, 'a');
    const ScratchFile file(before);
    file.move_to(9);
    const bool refused = mended.nBlockAlign == 0;
    EXPECT_EQ(C::fix(file, given, 0xFFFFFFFF), refused ? QVERR_BADFORMAT : S_OK);
    EXPECT_EQ(file.position(), 9);
    const uint64_t whole = refused ? 0 : 1007 / mended.nBlockAlign * mended.nBlockAlign;
    EXPECT_EQ(file.contents() == (refused ? before : with_header<C>(before, mended, whole, C::kPlain)), true);
  }
}

TYPED_TEST(WaveFiles, TheAudioIsFound) {
  using C = TypeParam;
  const Bytes start = wave_header<C>(kStereo, 0, C::kPlain).substr(0, C::kFormatEnd);
  const Bytes audio = header_in<C>("data", 7) + Bytes(5000, 'n');
  constexpr DWORD kAll = 0xFFFFFFFF;
  const auto after = [](size_t bytes) { return C::kFormatEnd + bytes + C::kHeader; };
  const struct {
    Bytes rest; ///< behind the format chunk
    DWORD limit;
    HRESULT result;
    size_t audio;
  } cases[] = {
      {header_in<C>("data", 0) + Bytes(10'001, 'a'), kAll, S_OK, C::kPlain},
      {header_in<C>("data", 7), kAll, S_OK, C::kPlain}, // no audio at all
      {chunk_in<C>("LIST", "INFO") + audio, kAll, S_OK, after(chunk_in<C>("LIST", "INFO").size())},
      {Bytes(4 * C::kAlign, 'z') + audio, kAll, S_OK, after(4 * C::kAlign)},       // byte by byte
      {Bytes(4096 - C::kAlign, 'z') + audio, kAll, S_OK, after(4096 - C::kAlign)}, // across two blocks
      {Bytes(4096 - C::kMark, 'z') + audio, kAll, S_OK, after(4096 - C::kMark)},   // at a block's start
      {Bytes(9001, 'z') + audio, kAll, QVERR_RIFF_BADSIZE, 0},                     // at an odd place
      {header_in<C>("zzzz", 0xFFFFFFFF) + audio, kAll, S_OK, after(C::kHeader)},   // a walk that leads nowhere
      {Bytes(20'000, 'z'), 10'000, S_OK, 10'000},                                  // the limit itself
      {Bytes(9000, 'z') + audio, 1000, S_OK, 1000},                                // beyond the limit
      {Bytes(2000, 'z') + audio, 1000, S_OK, after(2000)},                         // in the block that is read
      {Bytes(2000, 'z'), 0, QVERR_RIFF_BADSIZE, 0},                                //
      {Bytes(20'000, 'z'), kAll, QVERR_RIFF_NOTFOUND, 0},                          // the file ends first
      {Bytes(20, 'z'), kAll, QVERR_RIFF_NOTFOUND, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const auto& row = cases[i];
    const Bytes bytes = start + row.rest;
    const ScratchFile file(bytes);
    EXPECT_EQ(C::fix(file, nullptr, row.limit), row.result);
    const size_t there = row.result == S_OK ? (bytes.size() - row.audio) / 4 * 4 : 0;
    EXPECT_EQ(file.contents() == (row.result == S_OK ? with_header<C>(bytes, kStereo, there, row.audio) : bytes), true);
  }
}

TEST(WaveRepair, A16ByteFormatChunkHidesItsData) {
  // The "data" header at 36 begins before the search, which takes the next one.
  const Bytes bytes = riff("WAVE", chunk("fmt ", record_bytes(kStereo).substr(0, 16)) + header("data", 100) +
                                       Bytes(100, 'a') + header("data", 4) + "last");
  const ScratchFile file(bytes);
  EXPECT_EQ(QvFixTrashedWav(file, nullptr, 0xFFFFFFFF), S_OK);
  EXPECT_EQ(file.contents().substr(144), header("data", 4) + "last");
}

TYPED_TEST(WaveFiles, CutAfterEachByteAndRepaired) {
  using C = TypeParam;
  cut_after_each_byte(wave_header<C>(kStereo, 5, C::kPlain) + Bytes(20, 'a'), 0,
                      [](const ScratchFile& file, size_t length) {
                        const HRESULT expected = length < C::kRecord + 18            ? QVERR_RIFF_READ
                                                 : length <= C::kFormatEnd           ? QVERR_RIFF_BADSIZE // at its end
                                                 : length < C::kFormatEnd + C::kMark ? QVERR_RIFF_NOTFOUND
                                                 : length < C::kPlain                ? QVERR_RIFF_BADSIZE // no room
                                                                                     : S_OK;
                        EXPECT_EQ(C::fix(file, nullptr, 0xFFFFFFFF), expected);
                        EXPECT_EQ(file.contents().size(), length);
                      });
}

} // namespace
