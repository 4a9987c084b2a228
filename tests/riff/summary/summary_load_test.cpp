#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

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
} kCases[] = {
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
  for (const auto& row : kCases) {
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

// The list's header keeps its claim: what the file lost is missed in the count or in the texts, whichever comes first.
TEST(SummaryLoad, AFileCutAnywhereGivesAllOrNothing) {
  const Model model = parse("INAM=title;ICMT=;IART=someone;ICOP=202");
  for (const bool is_unfo : {false, true}) {
    const Bytes whole = is_unfo ? unfo_chunk(model) : info_chunk(model);
    cut_after_each_byte(whole, 12, [&](const ScratchFile& file, size_t length) {
      file.move_to(12);
      SummaryList list;
      DWORD remaining = static_cast<DWORD>(whole.size()) - 12;
      const bool complete = length == whole.size();
      EXPECT_EQ((is_unfo ? kUnfo : kInfo)(file, &list, &remaining), complete ? S_OK : QVERR_RIFF_READ);
      EXPECT_EQ(describe(list), complete ? describe(model) : "");
    });
  }
}

} // namespace
