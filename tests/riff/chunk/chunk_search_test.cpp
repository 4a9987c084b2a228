// Searches, counts and deletion, in the containers that have lists.
#include "tests/riff/containers.h"

#include <optional>

using namespace riff_test;

namespace {

template <class C>
struct Search {
  const char* name;
  const char* id;
  std::optional<typename C::Count> remaining;
  HRESULT result;
  typename C::Count size; ///< when found
  typename C::Count left; ///< of a given remaining count
  size_t position;
};

template <class C>
void check(const Search<C>& row, const Bytes& bytes, decltype(C::find) search) {
  SCOPED_TRACE(row.name);
  const ScratchFile file(bytes);
  typename C::Count remaining = row.remaining.value_or(0);
  typename C::Count size = 77;
  const typename C::Id id = id_of<C>(row.id);
  EXPECT_EQ(search(file, C::argument(id), &size, row.remaining ? &remaining : nullptr), row.result);
  EXPECT_EQ(size, row.result == S_OK ? row.size : 77);
  EXPECT_EQ(file.position(), static_cast<int64_t>(row.position));
  EXPECT_EQ(remaining, row.remaining ? row.left : 0);
  file.move_to(0);
  EXPECT_NE(search(file, C::argument(id), nullptr, nullptr), QVERR_RIFF_NOTFOUND) << "only the file ends it";
}

/// Two chunks and two lists, and where they are.
template <class C>
struct Sample {
  using Count = typename C::Count;
  const Bytes first = chunk_in<C>("aaaa", "123");
  const Bytes sub = chunk_in<C>("sub1", "xy");
  const Bytes last = list_in<C>("two ", chunk_in<C>("sub2", ""));
  const Bytes chunks = first + list_in<C>("one ", sub) + chunk_in<C>("bbbb", "zz") + last;
  const Count length = static_cast<Count>(chunks.size());
  const Count header = C::kHeader;
  const Count typed = C::kHeader + C::kType;
  const Count one = static_cast<Count>(first.size());
  const Count bbbb = one + typed + static_cast<Count>(sub.size());
  const Count two = length - static_cast<Count>(last.size());
};

template <class C>
class ChunkSearch : public testing::Test {};
TYPED_TEST_SUITE(ChunkSearch, RiffAndWave64);

TYPED_TEST(ChunkSearch, FindsAChunkWithinWhatRemains) {
  const auto [first, sub, last, bytes, length, header, typed, one, bbbb, two] = Sample<TypeParam>();
  const Search<TypeParam> cases[] = {
      {"first", "aaaa", length, S_OK, 3, length - header, header},
      {"behind an odd chunk and a list", "bbbb", length, S_OK, 2, length - bbbb - header, bbbb + header},
      {"unbounded", "bbbb", {}, S_OK, 2, 0, bbbb + header},
      {"header at the end of the range", "bbbb", bbbb + header, S_OK, 2, 0, bbbb + header},
      {"range ends in the header", "bbbb", bbbb + header - 1, QVERR_RIFF_NOTFOUND, 0, header - 1, bbbb},
      {"remaining below a header", "aaaa", header - 1, QVERR_RIFF_NOTFOUND, 0, header - 1, 0},
      {"nothing remaining", "aaaa", 0, QVERR_RIFF_NOTFOUND, 0, 0, 0},
      {"sub-chunks are not looked at", "sub1", length, QVERR_RIFF_NOTFOUND, 0, 0, length},
      {"file ends before the range", "none", length + header, QVERR_RIFF_READ, 0, header, length},
      {"unbounded to the file's end", "none", {}, QVERR_RIFF_READ, 0, 0, length},
  };
  for (const auto& row : cases)
    check<TypeParam>(row, bytes, TypeParam::find);
  check<TypeParam>({"larger than the range", "none", header + 12, QVERR_RIFF_NOTFOUND, 0, 0, header + 1000},
                   header_in<TypeParam>("aaaa", 1000) + Bytes(30, 'x'), TypeParam::find);
}

TYPED_TEST(ChunkSearch, FindsAListByItsType) {
  const auto [first, sub_chunk, last, bytes, length, header, typed, one, bbbb, two] = Sample<TypeParam>();
  using Count = typename TypeParam::Count;
  const auto sub = static_cast<Count>(sub_chunk.size());
  const Search<TypeParam> cases[] = {
      {"first list", "one ", length, S_OK, sub, length - one - typed, one + typed},
      {"second list", "two ", length, S_OK, header, header, two + typed},
      {"unbounded", "two ", {}, S_OK, header, 0, two + typed},
      {"just room for the type", "one ", one + typed, S_OK, sub, 0, one + typed},
      {"no room for the type", "one ", one + typed - 1, QVERR_RIFF_NOTFOUND, 0, typed - header - 1, one + header},
      {"chunks are not lists", "aaaa", length, QVERR_RIFF_NOTFOUND, 0, 0, length},
      {"range ends in the second list's header", "two ", two + 7, QVERR_RIFF_NOTFOUND, 0, 7, two},
  };
  for (const auto& row : cases)
    check<TypeParam>(row, bytes, TypeParam::find_list);
  // A list that is too small for a type is passed over.
  for (Count size : {0u, 1u, TypeParam::kType - 1}) {
    const Bytes broken = chunk_in<TypeParam>(TypeParam::kList, Bytes(size, 'x'));
    const Bytes all = broken + list_in<TypeParam>("INFO", "sub-chunk");
    check<TypeParam>({"behind a broken list", "INFO", 500, S_OK, 9, static_cast<Count>(500 - broken.size() - typed),
                      broken.size() + typed},
                     all, TypeParam::find_list);
  }
}

TYPED_TEST(ChunkSearch, TopLevelSearchesStartAtTheFile) {
  using C = TypeParam;
  const Sample<C> sample;
  typename C::Count size = 0;
  typename C::Count left = 77;
  const typename C::Id bbbb = id_of<C>("bbbb"), two = id_of<C>("two "), none = id_of<C>("none");
  const ScratchFile file(file_in<C>(sample.chunks));
  for (const int64_t from : {0, 30, 5000}) { // wherever the position is
    file.move_to(from);
    EXPECT_EQ(C::find_from_start(file, C::argument(bbbb), &size, &left), S_OK);
    EXPECT_EQ(left, sample.length - sample.bbbb - C::kHeader);
  }
  EXPECT_EQ(C::find_from_start(file, C::argument(none), nullptr, &left), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(C::find_list_from_start(file, C::argument(none), nullptr), QVERR_RIFF_NOTFOUND);

  const ScratchFile other(header_in<C>("FORM", 20) + Bytes(C::kType, 'x'));
  EXPECT_EQ(C::find_from_start(other, C::argument(bbbb), nullptr, &left), QVERR_RIFF_NOTRIFF);
  EXPECT_EQ(C::find_list_from_start(other, C::argument(two), nullptr), QVERR_RIFF_NOTRIFF);
  EXPECT_EQ(C::remove(other, C::argument(bbbb), nullptr, 0), QVERR_RIFF_NOTRIFF);
  const ScratchFile cut(file_header_in<C>(496) + sample.first);
  EXPECT_EQ(C::find_from_start(cut, C::argument(bbbb), nullptr, &left), QVERR_RIFF_READ);
  EXPECT_EQ(left, 496u) << "all chunks, after a failed read";
}

TYPED_TEST(ChunkSearch, EntriesAreCountedAndSought) {
  using C = TypeParam;
  using Count = typename C::Count;
  const Bytes one = chunk_in<C>("IART", "artist"), two = chunk_in<C>("INAM", "abc"), entries = one + two + two;
  const Count length = static_cast<Count>(entries.size());
  const struct {
    std::optional<Count> remaining;
    HRESULT result;
    DWORD count;
  } counts[] = {
      {length, S_OK, 3},
      {length - 1, S_OK, 3},
      {length - static_cast<Count>(two.size()) + C::kHeader - 1, S_OK, 2},
      {C::kHeader - 1, S_OK, 0},
      {0, S_OK, 0},
      {length + C::kHeader - 1, S_OK, 3},
      {length + C::kHeader, QVERR_RIFF_READ, 3},
      {{}, QVERR_RIFF_READ, 3},
  };
  for (const auto& row : counts) {
    const ScratchFile file("xx" + entries);
    file.move_to(2);
    Count remaining = row.remaining.value_or(0);
    DWORD count = 99;
    EXPECT_EQ(C::count(file, &count, row.remaining ? &remaining : nullptr), row.result);
    EXPECT_EQ(count, row.count);
    EXPECT_EQ(file.position(), 2);
    EXPECT_EQ(remaining, row.remaining.value_or(0));
  }
  const struct {
    DWORD index;
    Count remaining;
    HRESULT result;
    size_t position;
    Count left;
  } seeks[] = {
      {0, 3, S_OK, 0, 3},
      {1, length, S_OK, one.size(), length - static_cast<Count>(one.size())},
      {3, length, S_OK, length, 0},
      {4, length, QVERR_RIFF_NOTFOUND, length, 0},
      {0xFFFFFFFF, length, QVERR_RIFF_NOTFOUND, length, 0},
      {2, static_cast<Count>(one.size() + 1), QVERR_RIFF_NOTFOUND, one.size(), 1},
      {4, length + C::kHeader, QVERR_RIFF_READ, length, C::kHeader},
  };
  for (const auto& row : seeks) {
    SCOPED_TRACE(testing::Message() << row.index << " in " << row.remaining);
    const ScratchFile file(entries);
    Count remaining = row.remaining;
    EXPECT_EQ(C::seek_entry(file, row.index, &remaining), row.result);
    EXPECT_EQ(file.position(), static_cast<int64_t>(row.position));
    EXPECT_EQ(remaining, row.left);
  }
}

struct Deletion {
  const char* name;
  Bytes before;
  const char* id;
  bool is_list;
  HRESULT result;
  Bytes after;                       ///< empty: as before
  std::optional<size_t> length = {}; ///< what is taken out, when that is not what the file loses
};

template <class C>
void check_deletion(const Deletion& row) {
  SCOPED_TRACE(row.name);
  const ScratchFile file(row.before);
  typename C::Count removed = 77;
  const typename C::Id id = id_of<C>(row.id);
  EXPECT_EQ(C::remove(file, C::argument(id), &removed, row.is_list ? 1 : 0), row.result);
  EXPECT_EQ(removed, row.result == S_OK ? row.length.value_or(row.before.size() - row.after.size()) : 77);
  EXPECT_EQ(file.contents() == (row.after.empty() ? row.before : row.after), true);
}

template <class C>
class ChunkDelete : public testing::Test {};
TYPED_TEST_SUITE(ChunkDelete, RiffAndWave64);

TYPED_TEST(ChunkDelete, ClosesTheGap) {
  using C = TypeParam;
  const Bytes format = chunk_in<C>("fmt ", Bytes(16, 'f'));
  const Bytes info = list_in<C>("INFO", chunk_in<C>("INAM", "abc"));
  const Deletion cases[] = {
      {"bytes behind the form move along", file_in<C>(format + info) + "tail", "fmt ", false, S_OK,
       file_in<C>(info) + "tail"},
      {"first list by its chunk id", file_in<C>(format + info), C::kList, false, S_OK, file_in<C>(format)},
      {"sub-chunk", file_in<C>(format + info), "INAM", false, QVERR_RIFF_NOTFOUND, {}},
      {"chunk asked for as a list", file_in<C>(format + info), "fmt ", true, QVERR_RIFF_NOTFOUND, {}},
  };
  for (const Deletion& row : cases)
    check_deletion<C>(row);
  for (const size_t tail : {0u, 1u, 4095u, 4096u, 4097u, 8192u}) { // whole and partial blocks
    Bytes rest(tail, '\0');
    for (size_t k = 0; k < tail; ++k)
      rest[k] = static_cast<char>(k * 7 + (k >> 8));
    const Bytes claim = header_in<C>("data", tail) + rest;
    check_deletion<C>({"tail", file_in<C>(format + claim), "fmt ", false, S_OK, file_in<C>(claim)});
  }
}

TYPED_TEST(ChunkDelete, TakesOffAllThatTheHeaderClaims) {
  using C = TypeParam;
  const size_t claimed = 1000 + C::kHeader;
  const auto file_of_size = [&](size_t stored) { return file_header_in<C>(stored - C::kType - C::kCounted); };
  const Bytes format = chunk_in<C>("fmt ", Bytes(16, 'f'));
  const Bytes audio = format + header_in<C>("data", 1000), long_audio = audio + Bytes(2000, 'd');
  const Deletion cases[] = {
      {"cut", file_header_in<C>(format.size() + claimed) + audio + Bytes(500, 'd'), "data", false, S_OK,
       file_in<C>(format), claimed},
      {"one byte more", file_of_size(claimed - 1) + long_audio, "data", false, QVERR_RIFF_BADSIZE, {}},
      {"just as much", file_of_size(claimed) + long_audio, "data", false, S_OK,
       file_of_size(0) + format + Bytes(1000, 'd')},
      {"list",
       file_in<C>(format + header_in<C>(C::kList, 500) + C::code("INFO")),
       "INFO",
       true,
       QVERR_RIFF_BADSIZE,
       {}},
  };
  for (const Deletion& row : cases)
    check_deletion<C>(row);
}

// The RIFF size shrinks by the padded length, whether or not the file's writer counted and wrote the last pad byte.
TEST(RiffDelete, TheLastPadByteIsAlwaysTakenOff) {
  const Bytes format = chunk("fmt ", Bytes(16, 'f')), body = format + chunk("odd ", "abc");
  const Bytes uncounted = header("RIFF", static_cast<uint32_t>(body.size() + 3)) + "WAVE" + body;
  for (const size_t missing : {0, 1}) {
    const ScratchFile file(uncounted.substr(0, uncounted.size() - missing));
    DWORD removed = 0;
    EXPECT_EQ(riff_DeleteChunk(file, QvFourCC("odd "), &removed, 0), S_OK);
    EXPECT_EQ(removed, 12u);
    EXPECT_EQ(file.contents(), header("RIFF", 4 + 24 - 1) + "WAVE" + format);
  }
}

// Sizes that cannot be rounded up, skipped to, or held in 32 or 63 bits.
TEST(HostileSizes, EndTheWalk) {
  const ScratchFile riff_file(riff("WAVE", chunk("fmt ", "f") + header("data", 0xFFFFFFFF)));
  DWORD left = 20;
  EXPECT_EQ(riff_DeleteChunk(riff_file, QVRIFF_ID_DATA, nullptr, 0), QVERR_RIFF_BADSIZE);
  riff_file.move_to(22);
  EXPECT_EQ(riff_FindChunkHeader(riff_file, QvFourCC("none"), nullptr, &left), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(left, 0u);
  EXPECT_EQ(riff_file.position(), 30 + (1ll << 32));
  for (const ULONGLONG stored : {ULONGLONG{0}, ULONGLONG{1}, ULONGLONG{0x7FFFFFFFFFFFFFFF},
                                 ULONGLONG{0x7FFFFFFFFFFFFFF0}, ULONGLONG{0x8000000000000000}, ~ULONGLONG{0}}) {
    const ScratchFile file(header64("riff", 0) + guid("wave") + header64("junk", stored) + Bytes(48, '\0'));
    ULONGLONG size = 77;
    ULONGLONG remaining = 77;
    EXPECT_EQ(riff64_FindChunkHeaderInRIFF(file, &QVW64_DATA, &size, &remaining), QVERR_RIFF_READ) << stored;
    EXPECT_EQ(size, 77u);
    EXPECT_EQ(remaining, 0ull - 16);
    DWORD count = 0;
    file.move_to(40);
    EXPECT_EQ(riff64_GetNumListEntries(file, &count, nullptr), QVERR_RIFF_READ);
    EXPECT_LE(count, 3u);
    EXPECT_EQ(file.position(), 40);
  }
}

template <class C>
class CutFile : public testing::Test {};
TYPED_TEST_SUITE(CutFile, RiffAndWave64);

TYPED_TEST(CutFile, WhatIsStillThereIsFoundAndDeleted) {
  using C = TypeParam;
  const Bytes format = chunk_in<C>("fmt ", Bytes(16, 'f'));
  const Bytes info = list_in<C>("INFO", chunk_in<C>("INAM", Bytes("title\0", 6)));
  const Bytes whole = file_in<C>(format + info + chunk_in<C>("data", "12345"));
  const size_t format_at = kFirst<C> + C::kHeader;
  const size_t info_at = kFirst<C> + format.size() + kFirst<C>;
  const size_t data_at = kFirst<C> + format.size() + info.size() + C::kHeader;
  cut_after_each_byte(whole, 0, [&](const ScratchFile& file, size_t length) {
    const auto expected = [&](size_t at) { return length < at ? QVERR_RIFF_READ : S_OK; };
    const auto find = [&](const char* name) {
      const typename C::Id id = id_of<C>(name);
      return C::find_from_start(file, C::argument(id), nullptr, nullptr);
    };
    const typename C::Id info_type = id_of<C>("INFO"), data_id = id_of<C>("data");
    EXPECT_EQ(find("fmt "), expected(format_at));
    EXPECT_EQ(find("data"), expected(data_at));
    EXPECT_EQ(C::find_list_from_start(file, C::argument(info_type), nullptr), expected(info_at));
    file.move_to(0);
    EXPECT_EQ(C::read_file_id(file, nullptr, nullptr), expected(kFirst<C>));
    Bytes after = whole.substr(0, length);
    EXPECT_EQ(C::remove(file, C::argument(data_id), nullptr, 0), expected(data_at));
    if (length >= data_at) after = file_in<C>(format + info);
    EXPECT_EQ(file.contents() == after, true);
  });
}

} // namespace
