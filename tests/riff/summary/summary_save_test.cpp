#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include <gtest/gtest.h>
#include <random>

using namespace riff_test;

namespace {

constexpr DWORD kUntouched = 77;

TEST(SummarySave, WritesTheseBytes) {
  const struct {
    const char* name;
    Model model;
    Bytes info; // behind "LIST"
    Bytes unfo;
  } cases[] = {
      {"three characters", parse("INAM=abc"), u32(16) + "INFOINAM" + u32(4) + Bytes("abc\0", 4),
       u32(20) + "UNFOINAM" + u32(8) + Bytes("a\0b\0c\0\0\0", 8)},
      {"empty text", parse("INAM="), u32(14) + "INFOINAM" + u32(1) + Bytes(2, '\0'),
       u32(14) + "UNFOINAM" + u32(2) + Bytes(2, '\0')},
      {"no text at all", parse("INAM;IART"), u32(4) + "INFO", u32(4) + "UNFO"},
      {"a pad byte counts the items that are not written", parse("INAM=ab;IART;ICMT="),
       u32(26) + "INFOINAM" + u32(3) + Bytes("ab\0\0ICMT", 8) + u32(1) + Bytes("\0\2", 2),
       u32(28) + "UNFOINAM" + u32(6) + Bytes("a\0b\0\0\0ICMT", 10) + u32(2) + Bytes(2, '\0')},
      {"characters of code page 1252",
       {{"INAM", qv::WString(QV_TEXT("\u20AC\u00FC"))}},
       u32(16) + "INFOINAM" + u32(3) + Bytes("\x80\xFC\0\0", 4),
       u32(18) + "UNFOINAM" + u32(6) + u16(0x20AC) + u16(0xFC) + u16(0)},
      {"and one that it lacks",
       {{"INAM", qv::WString(QV_TEXT("\u4E2D"))}},
       u32(14) + "INFOINAM" + u32(2) + Bytes("?\0", 2),
       u32(16) + "UNFOINAM" + u32(4) + u16(0x4E2D) + u16(0)},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const SummaryList list(row.model);
    for (const bool is_unfo : {false, true}) {
      const ScratchFile file("before and over what was there, but not behind it: much more than any list here");
      const Bytes old = file.contents();
      file.move_to(6);
      DWORD written = kUntouched;
      EXPECT_EQ((is_unfo ? QvSummary_SaveUNFO : QvSummary_Save)(file, &list, &written), S_OK);
      const Bytes expected = "LIST" + (is_unfo ? row.unfo : row.info);
      EXPECT_EQ(written, expected.size());
      EXPECT_EQ(file.position(), 6 + static_cast<int64_t>(expected.size()));
      EXPECT_EQ(file.contents(), Bytes(old).replace(6, expected.size(), expected));
    }
  }
}

TEST(SummarySave, AnEmptyListWritesNothing) {
  const SummaryList empty;
  for (const auto save : {QvSummary_Save, QvSummary_SaveUNFO}) {
    const ScratchFile file("abc");
    DWORD written = kUntouched;
    EXPECT_EQ(save(file, &empty, &written), S_OK);
    EXPECT_EQ(written, 0u);
    written = kUntouched;
    EXPECT_EQ(save(file, nullptr, &written), E_INVALIDARG);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(save(file, &empty, nullptr), S_OK);
    EXPECT_EQ(file.contents(), "abc");
    EXPECT_EQ(file.position(), 0);
  }
}

TEST(SummarySave, APadByteIsTheLowByteOfTheIndex) {
  Model model(300, ModelItem{"ICMT", wide("")});
  const SummaryList list(model);
  const ScratchFile file;
  ASSERT_EQ(QvSummary_Save(file, &list, nullptr), S_OK);
  const Bytes bytes = file.contents();
  ASSERT_EQ(bytes.size(), 12 + 300 * 10u);
  for (size_t k = 0; k < 300; ++k)
    ASSERT_EQ(static_cast<uint8_t>(bytes[12 + k * 10 + 9]), k % 256);
}

Model random_model(std::mt19937& random, bool only_ansi) {
  Model model(random() % 12);
  for (ModelItem& item : model) {
    item.id = std::string("I") + "ABC"[random() % 3] + "XYZ"[random() % 3] + "0123"[random() % 4];
    if (random() % 5 == 0) continue;
    qv::WString text(random() % 40, QV_TEXT(' '));
    for (WCHAR& character : text) {
      const unsigned latin = random() % 2 == 0 ? 0x20 + random() % 0x5F : 0xA0 + random() % 0x60;
      const unsigned any = only_ansi ? 0x20AC : 1 + random() % 0xFFFF;
      character = static_cast<WCHAR>(random() % 8 == 0 ? any : latin);
    }
    item.text = text;
  }
  return model;
}

TEST(SummarySave, AgreesWithAnEncoderAndLoadsBack) {
  std::mt19937 random(35);
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const bool is_unfo = round % 2 != 0;
    const Model model = random_model(random, !is_unfo);
    const SummaryList list(model);
    const ScratchFile file;
    DWORD written = 0;
    ASSERT_EQ((is_unfo ? QvSummary_SaveUNFO : QvSummary_Save)(file, &list, &written), S_OK);
    const Bytes expected = model.empty() ? "" : is_unfo ? unfo_chunk(model) : info_chunk(model);
    ASSERT_EQ(file.contents(), expected);
    ASSERT_EQ(written, expected.size());
    if (model.empty()) continue;
    Model with_text;
    for (const ModelItem& item : model)
      if (item.text) with_text.push_back(item);
    SummaryList loaded;
    DWORD remaining = written - 12;
    file.move_to(12);
    ASSERT_EQ((is_unfo ? QvSummary_LoadUNFO : QvSummary_Load)(file, &loaded, &remaining), S_OK);
    EXPECT_EQ(describe(loaded), describe(with_text));
    EXPECT_EQ(file.position(), written);
  }
}

} // namespace
