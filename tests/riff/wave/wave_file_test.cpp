// Headers of wave files: made, inserted, recognised, repaired.
#include "tests/riff/scratch_file.h"
#include "tests/riff/wave64_bytes.h"

#include "qv/wave_file.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

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

/// A header that ends at `start`, byte by byte.
Bytes wave_header(const WAVEFORMATEX& format, uint32_t riff_size, uint32_t data_size, uint32_t start) {
  Bytes bytes = header("RIFF", riff_size) + "WAVE" + header("fmt ", 18) + record_bytes(format);
  if (start > 46) bytes += header("JUNK", start - 54) + Bytes(start - 54, '\0');
  return bytes + header("data", data_size);
}

Bytes wave64_header(const WAVEFORMATEX& format, uint64_t file_size, uint64_t data_size, uint64_t start) {
  Bytes bytes =
      header64("riff", file_size) + guid("wave") + header64("fmt ", 42) + record_bytes(format) + Bytes(6, '\0');
  if (start > 112) bytes += header64("junk", start - 112) + Bytes(start - 136, '\0');
  return bytes + header64("data", data_size + 24);
}

/// A name in the temporary folder where there is no file.
class NewName {
public:
  NewName() {
    const ScratchFile scratch;
    name_ = scratch.name();
  }
  ~NewName() { std::filesystem::remove(name_); }
  operator const WCHAR*() const { return name_.c_str(); }
  bool exists() const { return std::filesystem::exists(name_); }
  Bytes contents() const {
    const HANDLE file = CreateFileW(name_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size = {};
    GetFileSizeEx(file, &size);
    Bytes bytes(static_cast<size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    EXPECT_TRUE(ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr));
    CloseHandle(file);
    return bytes;
  }

private:
  qv::WString name_;
};

TEST(WaveFiles, Initialised) {
  struct Case {
    std::function<HRESULT(const WCHAR*)> make;
    HRESULT result;
    Bytes expected;
  };
  const auto junk = [](DWORD size) {
    return [size](const WCHAR* name) { return QvInitializeWavWithJunk(name, &kStereo, CREATE_NEW, size); };
  };
  const auto junk64 = [](LONGLONG size) {
    return [size](const WCHAR* name) { return QvInitializeWav64WithJunk(name, &kStereo, CREATE_NEW, size); };
  };
  const auto with = [](WAVEFORMATEX format) {
    return [format](const WCHAR* name) { return QvInitializeWav(name, &format, CREATE_NEW); };
  };
  WAVEFORMATEX extra = kStereo;
  extra.cbSize = 2;
  WAVEFORMATEX misaligned = kStereo;
  misaligned.nBlockAlign = 3;
  WAVEFORMATEX odd_float = format_of(3, 2, 44'100, 32);
  odd_float.nBlockAlign = 5; // only PCM is looked at
  WAVEFORMATEX bits20 = format_of(1, 2, 44'100, 20);
  bits20.nBlockAlign = 4;
  WAVEFORMATEX bits20_wide = bits20;
  bits20_wide.nBlockAlign = 6;
  const Case cases[] = {
      {with(kStereo), S_OK, wave_header(kStereo, 38, 0, 46)},
      {with(extra), QVERR_BADFORMAT, ""},
      {with(misaligned), QVERR_BADFORMAT, ""},
      {with(bits20), QVERR_BADFORMAT, ""},
      {with(bits20_wide), QVERR_BADFORMAT, ""},
      {with(odd_float), S_OK, wave_header(odd_float, 38, 0, 46)},
      {junk(52), E_INVALIDARG, ""},
      {junk(53), S_OK, wave_header(kStereo, 46, 0, 54)},
      {junk(4096), S_OK, wave_header(kStereo, 4088, 0, 4096)},
      {junk(200'001), S_OK, wave_header(kStereo, 199'994, 0, 200'002)},
      {junk(0xFFFFFFFF), E_INVALIDARG, ""},
      {[](const WCHAR* name) { return QvInitializeWav64(name, &kStereo, CREATE_NEW); }, S_OK,
       wave64_header(kStereo, 130, 0, 112)},
      {junk64(128), E_INVALIDARG, ""},
      {junk64(-8), E_INVALIDARG, ""},
      {junk64(129), S_OK, wave64_header(kStereo, 136, 0, 136)},
      {junk64(4093), S_OK, wave64_header(kStereo, 4096, 0, 4096)},
      {[](const WCHAR* name) { return QvInitializeWav(name, static_cast<const WAVEFORMATEX*>(nullptr), CREATE_NEW); },
       E_INVALIDARG, ""},
  };
  for (const Case& each : cases) {
    const NewName name;
    EXPECT_EQ(each.make(name), each.result);
    EXPECT_EQ(name.exists(), SUCCEEDED(each.result)) << "nothing is created for a refused call";
    if (FAILED(each.result)) continue;
    EXPECT_EQ(name.contents() == each.expected, true) << name.contents().size();
  }
  EXPECT_EQ(wave64_header(kStereo, 130, 0, 112).size(), 112u);
}

TEST(WaveFiles, CreationModes) {
  const Bytes expected = wave_header(kStereo, 38, 0, 46);
  const NewName name;
  EXPECT_EQ(QvInitializeWav(name, &kStereo, OPEN_EXISTING), QVERR_FILE_OPEN);
  EXPECT_EQ(QvInitializeWavWithJunk(name, &kStereo, OPEN_ALWAYS, 500), S_OK);
  EXPECT_EQ(QvInitializeWav(name, &kStereo, CREATE_NEW), QVERR_FILE_OPEN);
  EXPECT_EQ(QvInitializeWav(name, &kStereo, OPEN_EXISTING), S_OK);
  EXPECT_EQ(name.contents(), expected) << "what was there is gone";
  EXPECT_EQ(QvInitializeWavWithJunk(name, &kStereo, CREATE_ALWAYS, 500), S_OK);
  EXPECT_EQ(QvInitializeWav(name, &kStereo, OPEN_ALWAYS), S_OK);
  EXPECT_EQ(name.contents(), expected);
  _qvwaveformat record;
  record.Init(44'100, QVSAMPLE_PCM16, 2, 0, sizeof record);
  EXPECT_EQ(QvInitializeWav(static_cast<const WCHAR*>(name), record, CREATE_ALWAYS), S_OK);
  EXPECT_EQ(name.contents(), expected);
}

TEST(WaveFiles, HeadersInserted) {
  struct Case {
    DWORD start, file;
    HRESULT result;
  };
  for (const Case& each :
       {Case{46, 100, S_OK}, Case{54, 100, S_OK}, Case{60, 100, S_OK}, Case{46, 46, S_OK},
        Case{50, 100, QVERR_RIFF_BADSIZE}, Case{47, 100, QVERR_RIFF_BADSIZE}, Case{44, 100, QVERR_RIFF_BADSIZE},
        Case{46, 45, QVERR_RIFF_BADSIZE}, Case{70'000, 46, S_OK}}) {
    const Bytes before(each.file, 'a');
    const ScratchFile file(before);
    file.move_to(7);
    EXPECT_EQ(QvInsertWavHeader(file, &kStereo, 1000, each.start), each.result) << each.start;
    EXPECT_EQ(file.position(), 7);
    Bytes expected = before;
    if (each.result == S_OK) {
      expected.resize(std::max<size_t>(expected.size(), each.start));
      expected.replace(0, each.start, wave_header(kStereo, each.start - 8 + 1000, 1000, each.start));
    }
    EXPECT_EQ(file.contents() == expected, true) << each.start;
  }
  const ScratchFile file(Bytes(100, 'a'));
  WAVEFORMATEX wrong = kStereo;
  wrong.cbSize = 22;
  EXPECT_EQ(QvInsertWavHeader(file, &wrong, 0, 46), QVERR_BADFORMAT);
  EXPECT_EQ(file.contents(), Bytes(100, 'a'));
  EXPECT_EQ(QvInsertWavHeader(file, &kStereo, 0xFFFFFFF0, 54), S_OK);
  EXPECT_EQ(u32_at(file.contents(), 4), 0xFFFFFFFFu) << "more than the field holds";

  for (const Case& each :
       {Case{112, 200, S_OK}, Case{136, 200, S_OK}, Case{144, 200, S_OK}, Case{120, 200, QVERR_RIFF_BADSIZE},
        Case{113, 200, QVERR_RIFF_BADSIZE}, Case{104, 200, QVERR_RIFF_BADSIZE}, Case{112, 111, QVERR_RIFF_BADSIZE}}) {
    const Bytes before(each.file, 'a');
    const ScratchFile wave64(before);
    wave64.move_to(7);
    EXPECT_EQ(QvInsertW64Header(wave64, &kStereo, 1ull << 33, each.start), each.result) << each.start;
    EXPECT_EQ(wave64.position(), 7);
    Bytes expected = before;
    if (each.result == S_OK)
      expected.replace(0, each.start, wave64_header(kStereo, (1ull << 33) + each.start, 1ull << 33, each.start));
    EXPECT_EQ(wave64.contents() == expected, true) << each.start;
  }
}

TEST(WaveFiles, Recognised) {
  const Bytes pcm = record_bytes(kStereo);
  const Bytes adpcm = record_bytes(format_of(2, 2, 44'100, 4));
  // An extensible header is taken by its GUID, which is read as zeros where the chunk is too short for what it claims.
  const Bytes extensible = record_bytes(format_of(0xFFFE, 2, 44'100, 16)).substr(0, 16) + u16(22);
  const Bytes pcm_guid = Bytes("\1\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 16);
  struct Case {
    Bytes bytes;
    LONG plain, compressed, wave64;
  };
  const Case cases[] = {
      {riff("WAVE", chunk("fmt ", pcm) + chunk("data", "")), 1, 1, 0},
      {riff("WAVE", chunk("LIST", "INFO") + chunk("fmt ", pcm.substr(0, 16))), 1, 1, 0},
      {riff("WAVE", chunk("fmt ", adpcm)), 0, 1, 0},
      {riff("WAVE", chunk("fmt ", extensible + Bytes(6, '\0') + pcm_guid)), 1, 1, 0},
      {riff("WAVE", chunk("fmt ", extensible)) + Bytes(6, '\0') + pcm_guid, 0, 1, 0},
      {riff("WAVE", chunk("fmt ", pcm.substr(0, 15))), 0, 0, 0},
      {riff("WAVE", header("fmt ", 18) + pcm.substr(0, 17)), 0, 0, 0},
      {riff("WAVE", chunk("data", "")), 0, 0, 0},
      {riff("AVI ", chunk("fmt ", pcm)), 0, 0, 0},
      {header("RIFF", 4) + "WAVE" + chunk("fmt ", pcm), 0, 0, 0}, // outside the RIFF size
      {"", 0, 0, 0},
      {wave64(chunk64("fmt ", pcm)), 0, 0, 1},
      {wave64(chunk64("junk", "x") + chunk64("fmt ", pcm.substr(0, 16))), 0, 0, 1},
      {wave64(chunk64("fmt ", pcm.substr(0, 15))), 0, 0, 0},
      {wave64(chunk64("data", "")), 0, 0, 0},
      {header64("riff", 100) + guid("junk") + chunk64("fmt ", pcm), 0, 0, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    ScratchFile file(cases[i].bytes);
    file.close();
    EXPECT_EQ(QvFileIsWave(file.name().c_str(), FALSE), cases[i].plain) << i;
    EXPECT_EQ(QvFileIsWave(file.name().c_str(), TRUE), cases[i].compressed) << i;
    EXPECT_EQ(QvFileIsWave64(file.name().c_str()), cases[i].wave64) << i;
  }
  EXPECT_EQ(QvFileIsWave(QV_TEXT("/no/such/file"), TRUE), 0);
  EXPECT_EQ(QvFileIsWave64(nullptr), 0);
}

TEST(WaveFiles, FormatReadAndReplaced) {
  const WAVEFORMATEX mono = format_of(1, 1, 8'000, 8);
  WAVEFORMATEX with_extra = mono;
  with_extra.cbSize = 2;
  struct Case {
    Bytes chunk_bytes;
    HRESULT get, set, set_extra;
  };
  const Bytes pcm = record_bytes(kStereo);
  const Case cases[] = {
      {chunk("fmt ", pcm), S_OK, S_OK, S_OK},
      {chunk("fmt ", pcm.substr(0, 16)), S_OK, S_OK, QVERR_RIFF_BADSIZE},
      {chunk("fmt ", pcm + Bytes(22, 'x')), S_OK, QVERR_RIFF_BADSIZE, QVERR_RIFF_BADSIZE},
      {chunk("fmt ", pcm.substr(0, 14)), QVERR_RIFF_BADSIZE, QVERR_RIFF_BADSIZE, QVERR_RIFF_BADSIZE},
      {chunk("data", pcm), QVERR_RIFF_NOTFOUND, QVERR_RIFF_NOTFOUND, QVERR_RIFF_NOTFOUND},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const Bytes bytes = riff("WAVE", chunk("junk", "abc") + cases[i].chunk_bytes + chunk("data", "audio!"));
    const ScratchFile file(bytes);
    file.move_to(5);
    WAVEFORMATEX format = mono;
    EXPECT_EQ(QvGetFileWfx(file, &format), cases[i].get);
    EXPECT_EQ(record_bytes(format) == (SUCCEEDED(cases[i].get) ? pcm : record_bytes(mono)), true);
    EXPECT_EQ(QvSetFileWfx(file, &with_extra), cases[i].set_extra);
    EXPECT_EQ(QvSetFileWfx(file, &mono), cases[i].set);
    EXPECT_EQ(file.position(), 5);
    Bytes expected = bytes;
    if (SUCCEEDED(cases[i].set)) {
      const size_t size = u32_at(bytes, 28);
      expected.replace(32, size, record_bytes(mono).substr(0, size));
    }
    EXPECT_EQ(file.contents() == expected, true);
  }
  const ScratchFile other(riff("AVI ", chunk("fmt ", pcm)));
  WAVEFORMATEX format;
  EXPECT_EQ(QvGetFileWfx(other, &format), QVERR_RIFF_WRONGFORM);
  EXPECT_EQ(QvGetFileWfx(other, nullptr), E_INVALIDARG);
  const ScratchFile none(Bytes(50, 'x'));
  EXPECT_EQ(QvGetFileWfx(none, &format), QVERR_RIFF_NOTRIFF);
}

TEST(WaveRepair, Records) {
  const WAVEFORMATEX hint = format_of(1, 1, 8'000, 24);
  const WAVEFORMATEX float_hint = format_of(3, 1, 8'000, 64);
  struct Case {
    WAVEFORMATEX damaged;
    const WAVEFORMATEX* hint;
    WAVEFORMATEX mended;
  };
  const Case cases[] = {
      {format_of(1, 0, 1'000'000, 12), nullptr, format_of(1, 2, 44'100, 16)},
      {format_of(1, 0, 1'000'000, 12), &hint, format_of(1, 1, 8'000, 24)},
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
    const Case& each = cases[i];
    const Bytes audio(1007, 'a');
    const uint32_t whole = 1007 / each.mended.nBlockAlign * each.mended.nBlockAlign;
    const ScratchFile file(wave_header(each.damaged, 5, 0, 46) + audio);
    file.move_to(9);
    EXPECT_EQ(QvFixTrashedWav(file, each.hint, 0xFFFFFFFF), S_OK);
    EXPECT_EQ(file.position(), 9);
    EXPECT_EQ(file.contents() == wave_header(each.mended, 38 + whole, whole, 46) + audio, true);

    const ScratchFile file64(wave64_header(each.damaged, 5, 0, 112) + audio);
    file64.move_to(9);
    EXPECT_EQ(QvFixTrashedW64(file64, each.hint, ~0ull), S_OK);
    EXPECT_EQ(file64.position(), 9);
    EXPECT_EQ(file64.contents() == wave64_header(each.mended, 112 + whole, whole, 112) + audio, true);
  }
  // A hint without bits or channels leaves no frames to count.
  for (const WAVEFORMATEX& empty : {format_of(1, 2, 44'100, 0), format_of(1, 0, 44'100, 16)}) {
    const Bytes bytes = wave_header(format_of(1, 0, 44'100, 12), 5, 0, 46) + Bytes(100, 'a');
    const ScratchFile file(bytes);
    EXPECT_EQ(QvFixTrashedWav(file, &empty, 0xFFFFFFFF), QVERR_BADFORMAT);
    EXPECT_EQ(file.contents() == bytes, true);
  }
}

TEST(WaveRepair, WhereTheAudioIs) {
  const Bytes start = header("RIFF", 0) + "WAVE" + header("fmt ", 18) + record_bytes(kStereo);
  struct Case {
    Bytes rest; ///< behind the format chunk, at 38
    DWORD limit;
    HRESULT result;
    uint32_t audio;
  };
  const Bytes noise(5000, 'n');
  const Case cases[] = {
      {header("data", 0) + Bytes(10'001, 'a'), 0xFFFFFFFF, S_OK, 46},
      {chunk("LIST", "INFO") + header("data", 7) + noise, 0xFFFFFFFF, S_OK, 58},
      {Bytes("zz") + header("data", 7) + noise, 0xFFFFFFFF, QVERR_RIFF_BADSIZE, 0},      // found at 48
      {Bytes(8, 'z') + header("data", 7) + noise, 0xFFFFFFFF, S_OK, 54},                 // byte by byte
      {Bytes(4094, 'z') + header("data", 7) + noise, 0xFFFFFFFF, S_OK, 38 + 4094 + 8},   // across two blocks
      {Bytes(4092, 'z') + header("data", 7) + noise, 0xFFFFFFFF, S_OK, 38 + 4092 + 8},   // at a block's start
      {Bytes(9001, 'z') + header("data", 7) + noise, 0xFFFFFFFF, QVERR_RIFF_BADSIZE, 0}, // at an odd place
      {Bytes(20'000, 'z'), 10'000, S_OK, 10'000},                                        // the bound itself
      {Bytes(20'000, 'z'), 0xFFFFFFFF, QVERR_RIFF_NOTFOUND, 0},                          // the file ends first
      {Bytes(20, 'z'), 0xFFFFFFFF, QVERR_RIFF_NOTFOUND, 0},
      {Bytes(9000, 'z') + header("data", 7) + noise, 100, S_OK, 100},  // beyond the bound
      {Bytes(2000, 'z') + header("data", 7) + noise, 100, S_OK, 2046}, // in the block that is read
      {Bytes(2000, 'z'), 0, QVERR_RIFF_BADSIZE, 0},
      {header("zzzz", 0xFFFFFFFF) + header("data", 7) + noise, 0xFFFFFFFF, S_OK, 54}, // a walk that leads nowhere
      {header("data", 7), 0xFFFFFFFF, S_OK, 46},                                      // no audio at all
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const Bytes bytes = start + cases[i].rest;
    const ScratchFile file(bytes);
    file.move_to(3);
    EXPECT_EQ(QvFixTrashedWav(file, nullptr, cases[i].limit), cases[i].result);
    EXPECT_EQ(file.position(), 3);
    Bytes expected = bytes;
    if (cases[i].result == S_OK) {
      const uint32_t audio = cases[i].audio;
      const auto there = static_cast<uint32_t>(bytes.size() - audio) / 4 * 4;
      expected.replace(0, audio, wave_header(kStereo, audio - 8 + there, there, audio));
    }
    EXPECT_EQ(file.contents() == expected, true);
  }
}

TEST(WaveRepair, A16ByteFormatChunkHidesItsData) {
  // The "data" header at 36 begins before the search, which takes the next one.
  const Bytes bytes = riff("WAVE", chunk("fmt ", record_bytes(kStereo).substr(0, 16)) + header("data", 100) +
                                       Bytes(100, 'a') + header("data", 4) + "last");
  const ScratchFile file(bytes);
  EXPECT_EQ(QvFixTrashedWav(file, nullptr, 0xFFFFFFFF), S_OK);
  EXPECT_EQ(u32_at(file.contents(), 148), 4u);
  EXPECT_EQ(file.contents().substr(144, 4), "data");
}

TEST(WaveRepair, Wave64AudioByItsGuid) {
  const Bytes start = wave64_header(kStereo, 0, 0, 112).substr(0, 88);
  struct Case {
    Bytes rest;
    ULONGLONG limit;
    HRESULT result;
    uint64_t audio;
  };
  const Bytes noise(5000, 'n');
  const Case cases[] = {
      {header64("data", 0) + noise, ~0ull, S_OK, 112},
      {chunk64("junk", "12345678") + header64("data", 24) + noise, ~0ull, S_OK, 144},
      {Bytes(32, 'z') + header64("data", 24) + noise, ~0ull, S_OK, 144},
      {Bytes(4072, 'z') + header64("data", 24) + noise, ~0ull, S_OK, 88 + 4072 + 24},
      {Bytes(4088, 'z') + header64("data", 24) + noise, ~0ull, S_OK, 88 + 4088 + 24},
      {Bytes(33, 'z') + header64("data", 24) + noise, ~0ull, QVERR_RIFF_BADSIZE, 0},
      {Bytes(20'000, 'z'), 8'000, S_OK, 8'000},
      {Bytes(20'000, 'z'), ~0ull, QVERR_RIFF_NOTFOUND, 0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    SCOPED_TRACE(i);
    const Bytes bytes = start + cases[i].rest;
    const ScratchFile file(bytes);
    EXPECT_EQ(QvFixTrashedW64(file, nullptr, cases[i].limit), cases[i].result);
    Bytes expected = bytes;
    if (cases[i].result == S_OK) {
      const uint64_t audio = cases[i].audio;
      const uint64_t there = (bytes.size() - audio) / 4 * 4;
      expected.replace(0, audio, wave64_header(kStereo, audio + there, there, audio));
    }
    EXPECT_EQ(file.contents() == expected, true);
  }
}

TEST(WaveRepair, CutFiles) {
  // Cut after each byte: from each length on the result is another, and no file grows.
  struct Case {
    size_t from;
    HRESULT result;
  };
  const auto check = [](const Bytes& whole, const std::vector<Case>& cases, const std::function<HRESULT(HANDLE)>& fix) {
    size_t now = 0;
    for (size_t length = 0; length <= whole.size(); ++length) {
      if (now + 1 < cases.size() && cases[now + 1].from == length) ++now;
      const ScratchFile file(whole.substr(0, length));
      EXPECT_EQ(fix(file), cases[now].result) << length;
      EXPECT_EQ(file.contents().size(), length);
    }
  };
  // No record; nothing behind it: the audio would start there; no "data"; no room for a header; a header.
  check(
      wave_header(kStereo, 5, 0, 46) + Bytes(20, 'a'),
      {{0, QVERR_RIFF_READ}, {38, QVERR_RIFF_BADSIZE}, {39, QVERR_RIFF_NOTFOUND}, {42, QVERR_RIFF_BADSIZE}, {46, S_OK}},
      [](HANDLE file) { return QvFixTrashedWav(file, nullptr, 0xFFFFFFFF); });
  check(wave64_header(kStereo, 5, 0, 112) + Bytes(20, 'a'),
        {{0, QVERR_RIFF_READ},
         {82, QVERR_RIFF_BADSIZE},
         {89, QVERR_RIFF_NOTFOUND},
         {104, QVERR_RIFF_BADSIZE},
         {112, S_OK}},
        [](HANDLE file) { return QvFixTrashedW64(file, nullptr, ~0ull); });
}

} // namespace
