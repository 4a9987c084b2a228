// Summary texts out of files: whole lists, and single texts.
#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

using namespace riff_test;

namespace {

// ---- lists ----------------------------------------------------------------------------------------------------------

using Loader = HRESULT (*)(HANDLE, _summarylisttag*, DWORD*);

/// A sub-chunk whose data is padded with something else than zero.
Bytes item(std::string_view id, std::string_view data) {
  return header(id, static_cast<uint32_t>(data.size())) + Bytes(data) + Bytes(data.size() & 1, '\x55');
}

Bytes units(std::string_view ascii) {
  Bytes bytes;
  for (const char character : ascii)
    bytes += u16(static_cast<uint8_t>(character));
  return bytes;
}

const Bytes kTitle = item("INAM", zeroed("abc"));            // 12 bytes
const Bytes kArtist = item("IART", zeroed("Jo"));            // 12 bytes with its pad byte
const Bytes kWideTitle = item("INAM", units(zeroed("abc"))); // 16 bytes
constexpr auto kInfo = QvSummary_Load;
constexpr auto kUnfo = QvSummary_LoadUNFO;

const struct {
  const char* name;
  Loader load;
  Bytes bytes; ///< from the position on
  DWORD remaining;
  std::string items;
  int64_t position;
  HRESULT result = S_OK;
} kLoads[] = {
    {"fewer than a header", kInfo, "1234567", 7, "", 0},
    {"one", kInfo, kTitle, 12, "INAM=abc", 12},
    {"more behind the list", kInfo, kTitle + kArtist, 12, "INAM=abc", 12},
    {"up to 7 bytes are left alone", kInfo, kTitle + kArtist, 19, "INAM=abc", 12},
    {"twice the same id", kInfo, kTitle + kTitle, 24, "INAM=abc;INAM=abc", 24},
    {"id of zeros", kInfo, item(Bytes(4, '\0'), zeroed("x")), 10, "....=x", 10},
    {"empty text", kInfo, item("INAM", zeroed("")), 10, "INAM=", 10},
    {"no terminator", kInfo, item("INAM", "abcd"), 12, "INAM=abcd", 12},
    {"ends at the first zero", kInfo, item("INAM", Bytes("ab\0d", 4)), 12, "INAM=ab", 12},
    {"starts with a zero", kInfo, item("INAM", Bytes("\0bcd", 4)), 12, "INAM=", 12},
    {"code page 1252", kInfo, item("INAM", zeroed("\x80\xFC")), 12, "INAM=\\x20AC\\x00FC", 12},
    {"pad byte outside the list", kInfo, kArtist, 11, "", 0, QVERR_RIFF_READ}, // 11 - 12 wraps
    {"header cut", kInfo, kTitle + "IAR", 24, "", 0, QVERR_RIFF_READ},
    {"data cut: found when it is read", kInfo, kTitle + header("IART", 100) + "abc", 120, "", 20, QVERR_RIFF_READ},
    {"2 GiB claimed", kInfo, header("INAM", 0x7FFFFFF0) + "abc", 0x7FFFFFF8, "", 8, QVERR_RIFF_READ},
    {"padded size of 4 GiB", kInfo, header("INAM", 0xFFFFFFFF) + "abc", 8, "", 8, QVERR_RIFF_READ},
    {"two of 4 GiB", kInfo, header("INAM", 0xFFFFFFFF) + "abc", 16, "", 0, QVERR_RIFF_READ},

    {"UNFO: one", kUnfo, kWideTitle + "more", 16, "INAM=abc", 16},
    {"UNFO: beyond the code page", kUnfo, item("INAM", u16(0x4E2D) + u16(0xD83D) + u16(0)), 14, "INAM=\\x4E2D\\xD83D",
     14},
    {"UNFO: no terminator", kUnfo, item("INAM", units("ab")), 12, "INAM=ab", 12},
    {"UNFO: empty data", kUnfo, item("INAM", ""), 8, "INAM=", 8},
    {"UNFO: odd size", kUnfo, item("INAM", units("ab") + "c") + kWideTitle, 30, "INAM=ab;INAM=abc", 30},
    {"UNFO: claims more than remains", kUnfo, kWideTitle + kWideTitle, 15, "", 0, QVERR_RIFF_READ},
    {"UNFO: 4 GiB claimed", kUnfo, header("INAM", 0xFFFFFFFE) + "abc", 8, "", 8, QVERR_RIFF_READ},
};

TEST(SummaryLoad, ReadsWhatTheListHolds) {
  const Bytes before = "before: ";
  const auto start = static_cast<int64_t>(before.size());
  for (const auto& row : kLoads) {
    SCOPED_TRACE(row.name);
    const ScratchFile file(before + row.bytes);
    file.move_to(start);
    SummaryList list("IOLD=replaced");
    DWORD remaining = row.remaining;
    EXPECT_EQ(QvSummary_Load(file, nullptr, &remaining), E_INVALIDARG);
    EXPECT_EQ(QvSummary_Load(file, &list, nullptr), E_INVALIDARG);
    EXPECT_EQ(describe(list), "IOLD=replaced");
    EXPECT_EQ(row.load(file, &list, &remaining), row.result);
    EXPECT_EQ(describe(list), row.items);
    EXPECT_EQ(remaining, row.remaining);
    EXPECT_EQ(file.position() - start, row.position);
  }
}

TEST(SummaryLoad, AnUnfoTextKeepsItsZeros) {
  const ScratchFile file(item("INAM", units(Bytes("a\0b", 3))));
  SummaryList list;
  DWORD remaining = 14;
  ASSERT_EQ(QvSummary_LoadUNFO(file, &list, &remaining), S_OK);
  ASSERT_EQ(list.count, 1u);
  EXPECT_EQ(qv::WString(list.items[0].text, 4) == qv::WString(QV_TEXT("a\0b\0"), 4), true);
}

// ---- single texts ---------------------------------------------------------------------------------------------------

constexpr DWORD kUnbounded = 0xFFFFFFFF; // stands for a null pointer

const Bytes kFormat = chunk("fmt ", Bytes(16, 'f'));                 // 24 bytes
const Bytes kOtherList = list("adtl", "INAM1234label") + zeroed(""); // 26 with its pad byte
const Bytes kInfoList = list("INFO", chunk("IART", zeroed("Jo")) + chunk("INAM", zeroed("abc")) +
                                         chunk("ICMT", "no end:") + chunk("IGNR", zeroed("z")));

const struct {
  const char* name;
  Bytes bytes;
  HRESULT result;
  const char* text; ///< the buffer up to its first zero; a '#' stands for an untouched character
  const char* id = "INAM";
  DWORD capacity = 9;
  DWORD remaining = 200;
  DWORD left = remaining;
} kFetches[] = {
    {"behind others", kFormat + kOtherList + kInfoList, S_OK, "abc"},
    {"unbounded", kFormat + kOtherList + kInfoList, S_OK, "abc", "INAM", 9, kUnbounded},
    {"room for a list's header is enough", kInfoList, S_OK, "abc", "INAM", 9, 8},
    {"a list without a form", header("LIST", 2) + "xx" + kInfoList, S_OK, "abc"},
    {"just fits", kInfoList, S_OK, "abc", "INAM", 4},
    {"cut", kInfoList, S_OK, "ab", "INAM", 3},
    {"cut to nothing", kInfoList, S_OK, "", "INAM", 1},
    {"no room", kInfoList, S_OK, "#", "INAM", 0},
    {"no end: on into the next sub-chunk", kInfoList, S_OK, "no end:", "ICMT", 20},
    {"not even a pad byte between", list("INFO", header("ICMT", 4) + "no e" + chunk("INAM", zeroed("abc"))), S_OK,
     "no eINAM\4", "ICMT", 20},
    {"no end at the list's end", list("INFO", header("ICMT", 4) + "no e") + "more", S_OK, "no e", "ICMT"},
    {"the first of two", list("INFO", chunk("INAM", zeroed("one")) + chunk("INAM", zeroed("two"))), S_OK, "one"},
    {"empty text", list("INFO", chunk("INAM", zeroed(""))), S_OK, ""},
    {"a size that is not believed", list("INFO", header("INAM", 0xFFFFFFFF) + zeroed("abc")), S_OK, "abc"},
    {"code page 1252", list("INFO", chunk("INAM", zeroed("\x80"))), S_OK, "\\x20AC"},

    {"no such text", kInfoList, QVERR_RIFF_NOTFOUND, "#", "ICOP"},
    {"only the first INFO list counts", list("INFO", chunk("IART", "Jo")) + kInfoList, QVERR_RIFF_NOTFOUND, "#"},
    {"empty list", list("INFO", "") + kInfoList, QVERR_RIFF_NOTFOUND, "#"},
    {"7 bytes of a list", list("INFO", "INAM123") + kInfoList, QVERR_RIFF_NOTFOUND, "#"},
    {"a sub-chunk past the list's end", list("INFO", header("IART", 99)) + kInfoList, QVERR_RIFF_NOTFOUND, "#"},
    {"nothing remains behind a chunk", kFormat + kInfoList, QVERR_RIFF_NOTFOUND, "#", "INAM", 9, 24 + 7, 7},
    {"nor behind a list", kOtherList + kInfoList, QVERR_RIFF_NOTFOUND, "#", "INAM", 9, 26 + 3, 3},
    {"a chunk past what remains", kFormat + kInfoList, QVERR_RIFF_NOTFOUND, "#", "INAM", 9, 10, 0},
    {"no file", "", QVERR_RIFF_READ, "#"},
    {"no list, unbounded", kFormat + kOtherList, QVERR_RIFF_READ, "#", "INAM", 9, kUnbounded},
    {"chunk of 4 GiB", header("data", 0xFFFFFFFF) + kInfoList, QVERR_RIFF_READ, "#", "INAM", 9, kUnbounded},
    {"text longer than the file", header("LIST", 0x7FFFFFFF) + "INFO" + chunk("INAM", "abc"), QVERR_RIFF_READ, "#"},
};

TEST(SummaryFetch, FindsATextInAFile) {
  const Bytes before = "before: ";
  const auto start = static_cast<int64_t>(before.size());
  for (const auto& row : kFetches) {
    SCOPED_TRACE(row.name);
    const ScratchFile file(before + row.bytes);
    file.move_to(start);
    qv::WString buffer(row.capacity + 1, QV_TEXT('#'));
    DWORD remaining = row.remaining;
    DWORD* const bound = row.remaining == kUnbounded ? nullptr : &remaining;
    EXPECT_EQ(QvSummary_GetStringFromFile(file, summary_id(row.id), buffer.data(), row.capacity, bound), row.result);
    const std::string expected = row.text[0] == '#' ? std::string(row.capacity + 1, '#') : shown(wide(row.text));
    EXPECT_EQ(shown(buffer.c_str()), row.text[0] == '\\' ? row.text : expected);
    if (row.result == S_OK && row.capacity != 0) EXPECT_EQ(buffer[row.capacity - 1], 0);
    EXPECT_EQ(buffer.back(), QV_TEXT('#')) << "behind the buffer";
    if (bound) EXPECT_EQ(remaining, row.left);
    EXPECT_EQ(file.position(), start);
    remaining = row.remaining;
    EXPECT_EQ(QvSummary_GetStringFromFile(file, summary_id(row.id), nullptr, 9, bound), row.result)
        << "without a buffer";
  }
}

// ---- both -----------------------------------------------------------------------------------------------------------

// The headers keep their claims: what the file lost is missed in the walk or in the texts, whichever comes first.
TEST(SummaryRead, AFileCutAnywhereGivesAllOrNothing) {
  const Model model = parse("INAM=title;ICMT=;IART=someone;ICOP=202");
  const Bytes info = info_chunk(model), unfo = unfo_chunk(model);
  for (const Bytes& whole : {info, unfo})
    cut_after_each_byte(whole, 12, [&](const ScratchFile& file, size_t length) {
      file.move_to(12);
      SummaryList list;
      DWORD remaining = static_cast<DWORD>(whole.size()) - 12;
      const bool complete = length == whole.size();
      EXPECT_EQ((whole == info ? kInfo : kUnfo)(file, &list, &remaining), complete ? S_OK : QVERR_RIFF_READ);
      EXPECT_EQ(describe(list), complete ? describe(model) : "");
    });
  cut_after_each_byte(kFormat + kOtherList + info, 0, [&](const ScratchFile& file, size_t length) {
    WCHAR text[8] = {QV_TEXT('#')};
    DWORD remaining = 1000;
    const bool complete = length == kFormat.size() + kOtherList.size() + info.size();
    const HRESULT result = QvSummary_GetStringFromFile(file, summary_id("INAM"), text, 8, &remaining);
    EXPECT_EQ(result, complete ? S_OK : QVERR_RIFF_READ);
    EXPECT_EQ(shown(text), complete ? "title" : "#");
    EXPECT_EQ(file.position(), 0);
  });
}

} // namespace
