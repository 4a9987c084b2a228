#include "tests/riff/scratch_file.h"
#include "tests/riff/summary/summary_text.h"

#include <gtest/gtest.h>
#include <random>

using namespace riff_test;

namespace {

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
  // The encoder itself, and a character that the code page lacks.
  EXPECT_EQ(info_chunk(parse("INAM=abc;IART;ICMT=")),
            "LIST" + u32(26) + "INFOINAM" + u32(4) + Bytes("abc\0ICMT", 8) + u32(1) + Bytes("\0\2", 2));
  EXPECT_EQ(unfo_chunk(parse("INAM=ab;IART")), "LIST" + u32(18) + "UNFOINAM" + u32(6) + Bytes("a\0b\0\0\0", 6));
  const ScratchFile foreign;
  const SummaryList chinese(Model{{"INAM", qv::WString(QV_TEXT("\u4E2D"))}});
  EXPECT_EQ(QvSummary_Save(foreign, &chinese, nullptr), S_OK);
  EXPECT_EQ(foreign.contents(), info_chunk(parse("INAM=?")));

  std::mt19937 random(35);
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const bool is_unfo = round % 2 != 0;
    Model model = random_model(random, !is_unfo);
    if (round < 2) model.assign(300, {"ICMT", wide("")}); // an index beyond a pad byte's
    const SummaryList list(model);
    // Over what was there, but not behind it.
    const Bytes old(8000, '#');
    const ScratchFile file(old);
    file.move_to(6);
    const auto save = is_unfo ? QvSummary_SaveUNFO : QvSummary_Save;
    DWORD written = 77;
    ASSERT_EQ(save(file, nullptr, &written), E_INVALIDARG);
    ASSERT_EQ(written, 0u);
    ASSERT_EQ(save(file, &list, nullptr), S_OK);
    file.move_to(6);
    ASSERT_EQ(save(file, &list, &written), S_OK);
    const Bytes expected = model.empty() ? "" : is_unfo ? unfo_chunk(model) : info_chunk(model);
    ASSERT_EQ(file.contents() == Bytes(old).replace(6, expected.size(), expected), true);
    ASSERT_EQ(written, expected.size());
    ASSERT_EQ(file.position(), 6 + static_cast<int64_t>(written));
    if (model.empty()) continue;
    std::erase_if(model, [](const ModelItem& item) { return !item.text; });
    SummaryList loaded;
    DWORD remaining = written - 12;
    file.move_to(6 + 12);
    ASSERT_EQ((is_unfo ? QvSummary_LoadUNFO : QvSummary_Load)(file, &loaded, &remaining), S_OK);
    EXPECT_EQ(describe(loaded), describe(model));
    EXPECT_EQ(file.position(), 6 + static_cast<int64_t>(written));
  }
}

} // namespace
