#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

constexpr DWORD kUnbounded = 0xFFFFFFFF; // stands for a null pointer

const Bytes kFormat = chunk("fmt ", Bytes(16, 'f'));                 // 24 bytes
const Bytes kOtherList = list("adtl", "INAM1234label") + zeroed(""); // 26 with its pad byte
const Bytes kInfo = list("INFO", chunk("IART", zeroed("Jo")) + chunk("INAM", zeroed("abc")) + chunk("ICMT", "no end:") +
                                     chunk("IGNR", zeroed("z")));

const struct {
  const char* name;
  Bytes bytes;
  HRESULT result;
  const char* text; ///< the buffer up to its first zero; a '#' stands for an untouched character
  const char* id = "INAM";
  DWORD capacity = 9;
  DWORD remaining = 200;
  DWORD left = remaining;
} kCases[] = {
    {"behind others", kFormat + kOtherList + kInfo, S_OK, "abc"},
    {"unbounded", kFormat + kOtherList + kInfo, S_OK, "abc", "INAM", 9, kUnbounded},
    {"room for a list's header is enough", kInfo, S_OK, "abc", "INAM", 9, 8},
    {"a list without a form", header("LIST", 2) + "xx" + kInfo, S_OK, "abc"},
    {"just fits", kInfo, S_OK, "abc", "INAM", 4},
    {"cut", kInfo, S_OK, "ab", "INAM", 3},
    {"cut to nothing", kInfo, S_OK, "", "INAM", 1},
    {"no room", kInfo, S_OK, "#", "INAM", 0},
    {"no end: on into the next sub-chunk", kInfo, S_OK, "no end:", "ICMT", 20},
    {"not even a pad byte between", list("INFO", header("ICMT", 4) + "no e" + chunk("INAM", zeroed("abc"))), S_OK,
     "no eINAM\4", "ICMT", 20},
    {"no end at the list's end", list("INFO", header("ICMT", 4) + "no e") + "more", S_OK, "no e", "ICMT"},
    {"the first of two", list("INFO", chunk("INAM", zeroed("one")) + chunk("INAM", zeroed("two"))), S_OK, "one"},
    {"empty text", list("INFO", chunk("INAM", zeroed(""))), S_OK, ""},
    {"a size that is not believed", list("INFO", header("INAM", 0xFFFFFFFF) + zeroed("abc")), S_OK, "abc"},
    {"code page 1252", list("INFO", chunk("INAM", zeroed("\x80"))), S_OK, "\\x20AC"},

    {"no such text", kInfo, QVERR_RIFF_NOTFOUND, "#", "ICOP"},
    {"only the first INFO list counts", list("INFO", chunk("IART", "Jo")) + kInfo, QVERR_RIFF_NOTFOUND, "#"},
    {"empty list", list("INFO", "") + kInfo, QVERR_RIFF_NOTFOUND, "#"},
    {"7 bytes of a list", list("INFO", "INAM123") + kInfo, QVERR_RIFF_NOTFOUND, "#"},
    {"a sub-chunk past the list's end", list("INFO", header("IART", 99)) + kInfo, QVERR_RIFF_NOTFOUND, "#"},
    {"nothing remains behind a chunk", kFormat + kInfo, QVERR_RIFF_NOTFOUND, "#", "INAM", 9, 24 + 7, 7},
    {"nor behind a list", kOtherList + kInfo, QVERR_RIFF_NOTFOUND, "#", "INAM", 9, 26 + 3, 3},
    {"a chunk past what remains", kFormat + kInfo, QVERR_RIFF_NOTFOUND, "#", "INAM", 9, 10, 0},
    {"no file", "", QVERR_RIFF_READ, "#"},
    {"no list, unbounded", kFormat + kOtherList, QVERR_RIFF_READ, "#", "INAM", 9, kUnbounded},
    {"chunk of 4 GiB", header("data", 0xFFFFFFFF) + kInfo, QVERR_RIFF_READ, "#", "INAM", 9, kUnbounded},
    {"text longer than the file", header("LIST", 0x7FFFFFFF) + "INFO" + chunk("INAM", "abc"), QVERR_RIFF_READ, "#"},
};

std::string shown(const qv::WString& text) {
  const std::string described = describe(Model{{"INAM", text}});
  return described.substr(5);
}

TEST(SummaryFetch, FindsATextInAFile) {
  const Bytes before = "before: ";
  const auto start = static_cast<int64_t>(before.size());
  for (const auto& row : kCases) {
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

TEST(SummaryFetch, AFileCutAnywhereGivesAllOrNothing) {
  const Bytes whole = kFormat + kOtherList + list("INFO", chunk("INAM", zeroed("abc")));
  cut_after_each_byte(whole, 0, [&](const ScratchFile& file, size_t length) {
    WCHAR text[8] = {QV_TEXT('#')};
    DWORD remaining = static_cast<DWORD>(whole.size());
    const bool complete = length == whole.size();
    const HRESULT result = QvSummary_GetStringFromFile(file, summary_id("INAM"), text, 8, &remaining);
    EXPECT_EQ(result, complete ? S_OK : QVERR_RIFF_READ);
    EXPECT_EQ(shown(text), complete ? "abc" : "#");
    EXPECT_EQ(file.position(), 0);
  });
}

} // namespace
