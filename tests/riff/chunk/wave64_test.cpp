// Wave64 files: headers, chunks, searches and deletion.
#include "tests/riff/scratch_file.h"
#include "tests/riff/wave64_bytes.h"

#include "qv/riff64.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

using namespace riff_test;

namespace {

GUID guid_of(std::string_view name) {
  GUID id;
  std::memcpy(&id, guid(name).data(), sizeof id);
  return id;
}

constexpr ULONGLONG kUnset = 77;

TEST(Wave64, IdsStandInFilesAsPublished) {
  EXPECT_TRUE(QVW64_RIFF == guid_of("riff"));
  EXPECT_TRUE(QVW64_LIST == guid_of("list"));
  EXPECT_TRUE(QVW64_WAVE == guid_of("wave"));
  EXPECT_TRUE(QVW64_FMT == guid_of("fmt "));
  EXPECT_TRUE(QVW64_DATA == guid_of("data"));
  EXPECT_TRUE(QVW64_JUNK == guid_of("junk"));
}

TEST(Wave64, FileHeader) {
  const ScratchFile file;
  EXPECT_EQ(riff64_WriteFileID(file, &QVW64_WAVE, 1000), S_OK);
  EXPECT_EQ(file.contents(), header64("riff", 1024) + guid("wave"));
  file.move_to(3);
  EXPECT_EQ(riff64_SetRIFFSize(file, 1ull << 40), S_OK);
  EXPECT_EQ(riff64_UpdateRIFFSize(file, -8), S_OK);
  EXPECT_EQ(file.position(), 3);
  EXPECT_EQ(file.contents(), header64("riff", (1ull << 40) + 16) + guid("wave"));
  EXPECT_EQ(riff64_SeekDataStart(file), S_OK);
  EXPECT_EQ(file.position(), 40);

  struct Case {
    Bytes bytes;
    HRESULT result;
    ULONGLONG size;
  };
  const Case cases[] = {
      {header64("riff", 1064) + guid("data"), S_OK, 1024},
      {header64("riff", 40) + guid("data"), S_OK, 0},
      {header64("riff", 30) + guid("data"), S_OK, 6ull - 16},
      {header64("riff", 0) + guid("data"), S_OK, 0ull - 16},
      {header64("riff", ~0ull) + guid("data"), S_OK, 0ull - 16}, // negative
      {header64("list", 1064) + guid("data"), QVERR_RIFF_NOTRIFF, kUnset},
      {header64("riff", 1064) + guid("data").substr(1), QVERR_RIFF_READ, kUnset},
      {header64("riff", 1064).substr(1), QVERR_RIFF_READ, kUnset},
  };
  for (const Case& each : cases) {
    const ScratchFile one(each.bytes);
    ULONGLONG size = kUnset;
    GUID form = QVW64_JUNK;
    EXPECT_EQ(riff64_ReadFileID(one, &size, &form), each.result);
    EXPECT_EQ(size, each.size);
    EXPECT_TRUE(form == (SUCCEEDED(each.result) ? QVW64_DATA : QVW64_JUNK));
    one.move_to(0);
    EXPECT_EQ(riff64_ReadFileID(one, nullptr, nullptr), each.result);
  }
}

TEST(Wave64, ChunkHeaders) {
  struct Case {
    ULONGLONG stored, size;
  };
  for (const Case& each :
       {Case{24, 0}, Case{37, 13}, Case{10, 0}, Case{~0ull, 0}, Case{1ull << 62, (1ull << 62) - 24}}) {
    const ScratchFile file(header64("data", each.stored));
    GUID id = QVW64_JUNK;
    ULONGLONG size = kUnset;
    EXPECT_EQ(riff64_ReadChunkHeader(file, &id, &size), S_OK);
    EXPECT_TRUE(id == QVW64_DATA);
    EXPECT_EQ(size, each.size);
    EXPECT_EQ(riff64_ReadChunkHeader(file, &id, &size), QVERR_RIFF_READ);
  }
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 16), S_OK);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 12), QVERR_RIFF_BADSIZE);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 0), QVERR_RIFF_EMPTYCHUNK);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 0x800000000), QVERR_RIFF_BADSIZE);
  EXPECT_EQ(riff64_ValidateChunkHeader(nullptr, nullptr, 0x700000000), S_OK);

  const ScratchFile file;
  EXPECT_EQ(riff64_WriteListHeader(file, &QVW64_WAVE, 100), S_OK);
  EXPECT_EQ(file.contents(), header64("list", 124) + guid("wave"));
  GUID type;
  ULONGLONG size = kUnset;
  file.move_to(0);
  EXPECT_EQ(riff64_ReadListHeader(file, &type, &size), S_OK);
  EXPECT_TRUE(type == QVW64_WAVE);
  EXPECT_EQ(size, 84u);
  const ScratchFile small(header64("list", 30) + guid("wave"));
  EXPECT_EQ(riff64_ReadListHeader(small, &type, &size), S_OK);
  EXPECT_EQ(size, 0u);
  const ScratchFile other(chunk64("data", Bytes(16, 'x')));
  EXPECT_EQ(riff64_ReadListHeader(other, &type, &size), QVERR_RIFF_NOTLIST);
  EXPECT_EQ(other.position(), 24);
}

TEST(Wave64, ChunksWritten) {
  const ScratchFile file;
  ULONGLONG written = kUnset;
  EXPECT_EQ(riff64_WriteChunk(file, &QVW64_DATA, "thirteen byte", 13, &written), S_OK);
  EXPECT_EQ(written, 40u);
  EXPECT_EQ(file.contents(), header64("data", 37) + "thirteen byte" + Bytes(3, '\0'));
  EXPECT_EQ(riff64_WriteChunkToFile(file, &QVW64_JUNK, "thirteen byte", 13), S_OK);
  EXPECT_EQ(file.contents().substr(40), header64("junk", 40) + "thirteen byte" + Bytes(3, '\0'));
  EXPECT_EQ(riff64_WriteData(file, "abcdefgh", 8, &written), S_OK);
  EXPECT_EQ(written, 8u);
  EXPECT_EQ(riff64_WriteData(file, "a", 1, &written), S_OK);
  EXPECT_EQ(written, 8u);
  EXPECT_EQ(riff64_WriteData(file, nullptr, 0, &written), S_OK);
  EXPECT_EQ(written, 0u);
  EXPECT_EQ(file.contents().substr(80), "abcdefgha" + Bytes(7, '\0'));
}

TEST(Wave64, ChunksCompletedAtTheirEnd) {
  const ScratchFile file(Bytes(5, '.'));
  file.move_to(5); // padding counts from the chunk, wherever it starts
  ULONGLONG list = kUnset;
  ULONGLONG chunk = kUnset;
  EXPECT_EQ(riff64_PrepareList(file, &QVW64_WAVE, &list), S_OK);
  EXPECT_EQ(list, 5u);
  EXPECT_EQ(riff64_PrepareChunk(file, &QVW64_DATA, &chunk), S_OK);
  EXPECT_EQ(chunk, 45u);
  EXPECT_EQ(file.contents().substr(5), header64("list", 24) + guid("wave") + header64("data", 24));
  EXPECT_EQ(riff64_WriteToFile(file, "one", 3), S_OK);
  EXPECT_EQ(riff64_WriteToFile(file, "two", 3), S_OK);
  EXPECT_EQ(riff64_AmountWritten(file, chunk), 30u);
  EXPECT_EQ(riff64_CompleteChunk(file, chunk), S_OK);
  EXPECT_EQ(riff64_CompleteChunk(file, list), S_OK);
  EXPECT_EQ(file.position(), 5 + 40 + 32);
  EXPECT_EQ(file.contents().substr(5),
            header64("list", 72) + guid("wave") + header64("data", 32) + "onetwo" + Bytes(2, '\0'));
  EXPECT_EQ(riff64_Pad(file, 5), S_OK);
  EXPECT_EQ(file.position(), 77);
}

TEST(Wave64, DataRead) {
  const Bytes bytes = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  struct Case {
    ULONGLONG buffer, chunk;
    int64_t position;
  };
  // The skip is by the buffer's rest and by the chunk's odd bytes, not to the next chunk.
  for (const Case& each : {Case{8, 8, 8}, Case{4, 20, 8}, Case{10, 5, 15}, Case{0, 13, 5}, Case{16, 0, 16}}) {
    const ScratchFile file(bytes);
    char buffer[16] = {};
    EXPECT_EQ(riff64_ReadDataBounded(file, buffer, each.buffer, each.chunk), S_OK);
    EXPECT_EQ(file.position(), each.position) << each.buffer << " " << each.chunk;
    const size_t read = std::min(each.buffer, each.chunk);
    EXPECT_EQ(Bytes(buffer, read), bytes.substr(0, read));
    EXPECT_EQ(Bytes(buffer + read, sizeof buffer - read), Bytes(sizeof buffer - read, '\0'));
  }
  const ScratchFile file(bytes);
  char buffer[16] = {};
  EXPECT_EQ(riff64_ReadData(file, buffer, 13), S_OK);
  EXPECT_EQ(file.position(), 16);
  EXPECT_EQ(riff64_ReadData(file, buffer, 8), S_OK);
  EXPECT_EQ(file.position(), 24);
  EXPECT_EQ(riff64_SkipChunk(file, 3), 8u);
  EXPECT_EQ(file.position(), 32);
  EXPECT_EQ(riff64_ReadData(file, buffer, 5), QVERR_RIFF_READ);
  ULONGLONG location = 0;
  EXPECT_EQ(riff64_RestoreLocation(file, 5'000'000'000), S_OK);
  EXPECT_EQ(riff64_SaveLocation(file, &location), S_OK);
  EXPECT_EQ(location, 5'000'000'000u);

  file.move_to(0);
  QVRIFF64DATA data = {13, nullptr};
  ASSERT_EQ(riff64_ReadDataAlloc(file, &data), S_OK);
  EXPECT_EQ(Bytes(static_cast<char*>(data.data), 13), bytes.substr(0, 13));
  EXPECT_EQ(file.position(), 16);
  const HGLOBAL block = GlobalHandle(data.data);
  GlobalUnlock(block);
  GlobalFree(block);
  for (const ULONGLONG claimed : {ULONGLONG{21}, ULONGLONG{1} << 40, ~ULONGLONG{0}}) {
    data = {claimed, &data};
    EXPECT_EQ(riff64_ReadDataAlloc(file, &data), QVERR_RIFF_READ);
    EXPECT_EQ(data.data, nullptr);
  }
}

TEST(Wave64, HostileSizesEndTheWalk) {
  for (const ULONGLONG stored : {ULONGLONG{0}, ULONGLONG{1}, ULONGLONG{0x7FFFFFFFFFFFFFFF},
                                 ULONGLONG{0x7FFFFFFFFFFFFFF0}, ULONGLONG{0x8000000000000000}, ~ULONGLONG{0}}) {
    const ScratchFile file(header64("riff", 0) + guid("wave") + header64("junk", stored) + Bytes(48, '\0'));
    ULONGLONG size = kUnset;
    ULONGLONG remaining = kUnset;
    EXPECT_EQ(riff64_FindChunkHeaderInRIFF(file, &QVW64_DATA, &size, &remaining), QVERR_RIFF_READ) << stored;
    EXPECT_EQ(size, kUnset);
    EXPECT_EQ(remaining, 0ull - 16);
    DWORD count = 0;
    file.move_to(40);
    EXPECT_EQ(riff64_GetNumListEntries(file, &count, nullptr), QVERR_RIFF_READ);
    EXPECT_LE(count, 3u);
    EXPECT_EQ(file.position(), 40);
  }
  ULONGLONG remaining = 23;
  const ScratchFile file(chunk64("data", "x"));
  EXPECT_EQ(riff64_FindChunkHeader(file, &QVW64_DATA, nullptr, &remaining), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(remaining, 23u);
}

TEST(Wave64, NullArguments) {
  const ScratchFile file(wave64(chunk64("data", "x")));
  ULONGLONG size = 0;
  EXPECT_EQ(riff64_WriteFileID(file, nullptr, 0), E_INVALIDARG);
  EXPECT_EQ(riff64_ReadChunkHeader(file, nullptr, &size), E_INVALIDARG);
  EXPECT_EQ(riff64_WriteChunk(file, &QVW64_DATA, nullptr, 1, nullptr), E_INVALIDARG);
  EXPECT_EQ(riff64_FindChunkHeader(file, nullptr, &size, nullptr), E_INVALIDARG);
  EXPECT_EQ(riff64_DeleteChunk(file, nullptr, &size, 0), E_INVALIDARG);
  EXPECT_EQ(riff64_GetNumListEntries(file, nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(riff64_PrepareChunk(file, &QVW64_DATA, nullptr), E_INVALIDARG);
  EXPECT_EQ(riff64_getGUIDLabel(&QVW64_DATA), nullptr);
  EXPECT_EQ(riff64_getGUIDLabelProperly(nullptr), nullptr);
  EXPECT_EQ(file.contents(), wave64(chunk64("data", "x")));
}

struct ModelChunk {
  Bytes name, type, data;
  size_t at;
  bool is_list() const { return !type.empty(); }
  Bytes bytes() const { return is_list() ? list64(type, data) : chunk64(name, data); }
};

TEST(Wave64, RandomFilesAgainstAModel) {
  constexpr const char* kNames[] = {"fmt ", "data", "junk", "wave"};
  constexpr const char* kTypes[] = {"wave", "fmt "};
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<ModelChunk> chunks;
    Bytes body;
    for (size_t i = random() % 7; i > 0; --i) {
      ModelChunk each{kNames[random() % 4], "", Bytes(random() % 5 == 0 ? 4090 + random() % 12 : random() % 30, 'd'),
                      40 + body.size()};
      if (random() % 4 == 0) each = {"list", kTypes[random() % 2], chunk64("data", each.data), each.at};
      body += each.bytes();
      chunks.push_back(each);
    }
    Bytes bytes = wave64(body);
    if (seed % 3 == 0) bytes.resize(40 + random() % (bytes.size() - 39));
    const auto check = [&](const Bytes& name, bool as_list) {
      const ScratchFile file(bytes);
      const GUID id = guid_of(name);
      HRESULT expected = QVERR_RIFF_NOTFOUND;
      const ModelChunk* found = nullptr;
      for (const ModelChunk& each : chunks) {
        const bool typed = as_list && each.is_list();
        if (each.at + (typed ? 40 : 24) > bytes.size()) {
          expected = QVERR_RIFF_READ;
          break;
        }
        if (as_list ? typed && each.type == name : each.name == name) {
          found = &each;
          expected = S_OK;
          break;
        }
      }
      ULONGLONG size = kUnset;
      ULONGLONG remaining = kUnset;
      if (as_list)
        ASSERT_EQ(riff64_FindListChunkFromStart(file, &id, &size), expected) << name;
      else
        ASSERT_EQ(riff64_FindChunkHeaderInRIFF(file, &id, &size, &remaining), expected) << name;
      if (found) {
        EXPECT_EQ(size, found->data.size() + (found->is_list() && !as_list ? 16 : 0));
        EXPECT_EQ(file.position(), static_cast<int64_t>(found->at + (as_list ? 40 : 24)));
        EXPECT_EQ(remaining, as_list ? kUnset : body.size() + 40 - found->at - 24);
      }
      ULONGLONG removed = 0;
      ASSERT_EQ(riff64_DeleteChunk(file, &id, &removed, as_list ? 1 : 0), expected) << name;
      if (!found) {
        EXPECT_EQ(file.contents() == bytes, true);
        return;
      }
      const size_t length = found->bytes().size();
      EXPECT_EQ(removed, length);
      Bytes rest = bytes.substr(0, found->at) + bytes.substr(std::min(bytes.size(), found->at + length));
      rest.replace(16, 8, u64(40 + body.size() - length));
      EXPECT_EQ(file.contents() == rest, true) << name;
    };
    for (const char* name : kNames)
      check(name, false);
    check("list", false);
    for (const char* type : kTypes)
      check(type, true);

    const ScratchFile file(bytes);
    size_t whole = 0;
    for (const ModelChunk& each : chunks)
      whole += each.at + 24 <= bytes.size();
    ULONGLONG remaining = body.size();
    DWORD count = 0;
    file.move_to(40);
    EXPECT_EQ(riff64_GetNumListEntries(file, &count, &remaining), whole == chunks.size() ? S_OK : QVERR_RIFF_READ);
    EXPECT_EQ(count, whole);
    for (size_t i = 0; i < whole; ++i) {
      file.move_to(40);
      ASSERT_EQ(riff64_SeekListEntry(file, static_cast<DWORD>(i), nullptr), S_OK);
      EXPECT_EQ(file.position(), static_cast<int64_t>(chunks[i].at));
    }
  }
}

TEST(Wave64, AListIsFoundWithinABound) {
  const Bytes inner = list64("wave", chunk64("data", "x"));
  const ScratchFile file(chunk64("junk", "yy") + inner);
  ULONGLONG size = kUnset;
  ULONGLONG remaining = 32 + inner.size();
  EXPECT_EQ(riff64_FindListChunk(file, &QVW64_WAVE, &size, &remaining), S_OK);
  EXPECT_EQ(size, 32u);
  EXPECT_EQ(remaining, 32u);
  EXPECT_EQ(file.position(), 32 + 40);
  file.move_to(0);
  remaining = 32 + 39;
  EXPECT_EQ(riff64_FindListChunk(file, &QVW64_WAVE, nullptr, &remaining), QVERR_RIFF_NOTFOUND);
}

} // namespace
