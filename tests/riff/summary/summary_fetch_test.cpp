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
  const char* id;
  DWORD capacity;
  DWORD remaining;
  HRESULT result;
  const char* text; // the buffer up to its first zero; a '#' stands for an untouched character
  DWORD left;
} kCases[] = {
    {"behind others", kFormat + kOtherList + kInfo, "INAM", 9, 200, S_OK, "abc", 200},
    {"unbounded", kFormat + kOtherList + kInfo, "INAM", 9, kUnbounded, S_OK, "abc", 0},
    {"a list without a form", header("LIST", 2) + "xx" + kInfo, "INAM", 9, 100, S_OK, "abc", 100},
    {"just fits", kInfo, "INAM", 4, 100, S_OK, "abc", 100},
    {"cut", kInfo, "INAM", 3, 100, S_OK, "ab", 100},
    {"cut to nothing", kInfo, "INAM", 1, 100, S_OK, "", 100},
    {"no room", kInfo, "INAM", 0, 100, S_OK, "#", 100},
    {"no end: on into the next sub-chunk", kInfo, "ICMT", 20, 100, S_OK, "no end:", 100},
    {"not even a pad byte between", list("INFO", header("ICMT", 4) + "no e" + chunk("INAM", zeroed("abc"))), "ICMT", 20,
     100, S_OK, "no eINAM\4", 100},
    {"no end at the list's end", list("INFO", header("ICMT", 4) + "no e") + "more", "ICMT", 20, 100, S_OK, "no e", 100},
    {"the first of two", list("INFO", chunk("INAM", zeroed("one")) + chunk("INAM", zeroed("two"))), "INAM", 9, 100,
     S_OK, "one", 100},
    {"empty text", list("INFO", chunk("INAM", zeroed(""))), "INAM", 9, 100, S_OK, "", 100},
    {"a size that is not believed", list("INFO", header("INAM", 0xFFFFFFFF) + zeroed("abc")), "INAM", 9, 100, S_OK,
     "abc", 100},
    {"code page 1252", list("INFO", chunk("INAM", zeroed("\x80"))), "INAM", 9, 100, S_OK, "\\x20AC", 100},

    {"no such text", kInfo, "ICOP", 9, 100, QVERR_RIFF_NOTFOUND, "#", 100},
    {"only the first INFO list counts", list("INFO", chunk("IART", zeroed("Jo"))) + kInfo, "INAM", 9, 100,
     QVERR_RIFF_NOTFOUND, "#", 100},
    {"empty list", list("INFO", "") + kInfo, "INAM", 9, 100, QVERR_RIFF_NOTFOUND, "#", 100},
    {"7 bytes of a list", list("INFO", "INAM123") + kInfo, "INAM", 9, 100, QVERR_RIFF_NOTFOUND, "#", 100},
    {"a sub-chunk past the list's end", list("INFO", header("IART", 99)) + kInfo, "INAM", 9, 200, QVERR_RIFF_NOTFOUND,
     "#", 200},
    {"nothing remains behind a chunk", kFormat + kInfo, "INAM", 9, 24 + 7, QVERR_RIFF_NOTFOUND, "#", 7},
    {"nor behind a list", kOtherList + kInfo, "INAM", 9, 26 + 3, QVERR_RIFF_NOTFOUND, "#", 3},
    {"a chunk past what remains", kFormat + kInfo, "INAM", 9, 10, QVERR_RIFF_NOTFOUND, "#", 0},
    {"no file", "", "INAM", 9, 100, QVERR_RIFF_READ, "#", 100},
    {"no list, unbounded", kFormat + kOtherList, "INAM", 9, kUnbounded, QVERR_RIFF_READ, "#", 0},
    {"chunk of 4 GiB", header("data", 0xFFFFFFFF) + kInfo, "INAM", 9, kUnbounded, QVERR_RIFF_READ, "#", 0},
    {"list longer than the file", header("LIST", 0x7FFFFFFF) + "INFO" + chunk("INAM", zeroed("abc")), "INAM", 9, 100,
     QVERR_RIFF_READ, "#", 100},
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
