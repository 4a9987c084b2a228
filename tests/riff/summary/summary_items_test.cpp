#include "tests/riff/summary/summary_text.h"

#include <gtest/gtest.h>
#include <random>

using namespace riff_test;

namespace {

TEST(SummaryItems, AreSetAddedAndRemoved) {
  const struct {
    const char* name;
    const char* before;
    const char* id;
    std::optional<std::string> text;
    HRESULT result;
    const char* after;
  } cases[] = {
      {"a text where there was none", "INAM;IART=b", "INAM", "a", S_OK, "INAM=a;IART=b"},
      {"the first of two", "INAM=a;INAM=b", "INAM", "c", S_OK, "INAM=c;INAM=b"},
      {"removed without a text", "INAM=a;IART", "IART", {}, S_OK, "INAM=a"},
      {"the first of two removed", "INAM=a;INAM=b", "INAM", {}, S_OK, "INAM=b"},
      {"removing what is not there adds it", "INAM=a", "IART", {}, S_OK, "INAM=a;IART"},
      {"no id", "INAM=a", "....", "x", E_INVALIDARG, "INAM=a"},
      {"no id, removed", "....=a", "....", {}, E_INVALIDARG, "....=a"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    SummaryList list(row.before);
    const DWORD old_count = list.count;
    const qv::WString text = wide(row.text.value_or(""));
    EXPECT_EQ(QvSummary_SetItem(&list, summary_id(row.id), row.text ? text.c_str() : nullptr), row.result);
    EXPECT_EQ(describe(list), row.after);
    if (list.count != 0 && list.count < old_count) { // the vacated record
      EXPECT_EQ(list.items[list.count].id, 0u);
      EXPECT_EQ(list.items[list.count].text, nullptr);
    }
  }
  EXPECT_EQ(QvSummary_SetItem(nullptr, summary_id("INAM"), QV_TEXT("a")), E_INVALIDARG);
}

TEST(SummaryItems, ATextMayComeFromTheListItself) {
  SummaryList list("INAM=title;IART=b");
  EXPECT_EQ(QvSummary_SetItem(&list, summary_id("INAM"), list.items[0].text + 2), S_OK);
  EXPECT_EQ(QvSummary_SetItem(&list, summary_id("ICMT"), list.items[0].text), S_OK);
  EXPECT_EQ(describe(list), "INAM=tle;IART=b;ICMT=tle");
}

TEST(SummaryItems, AreFoundByTheFirstWithTheId) {
  const SummaryList list("INAM=a;IART;ICMT=;INAM=b");
  const struct {
    const char* id;
    HRESULT index;
    const WCHAR* text;
  } cases[] = {{"INAM", 0, list.items[0].text},
               {"IART", 1, nullptr},
               {"ICMT", 2, list.items[2].text},
               {"inam", static_cast<HRESULT>(0x8004E00A), nullptr},
               {"....", QVERR_RIFF_NOTFOUND, nullptr}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(QvSummary_GetItemIndex(&list, summary_id(row.id)), row.index);
    EXPECT_EQ(QvSummary_GetItemText(&list, summary_id(row.id)), row.text);
  }
  const SummaryList empty;
  for (const _summarylisttag* none :
       {static_cast<const _summarylisttag*>(&empty), static_cast<const _summarylisttag*>(nullptr)}) {
    EXPECT_EQ(QvSummary_GetItemIndex(none, summary_id("INAM")), QVERR_RIFF_NOTFOUND);
    EXPECT_EQ(QvSummary_GetItemText(none, summary_id("INAM")), nullptr);
  }
}

TEST(SummaryItems, AreFreedOnceAndAgain) {
  SummaryList list("INAM=a;IART;ICMT=");
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(QvSummary_Free(&list), S_OK);
    EXPECT_EQ(describe(list), "");
  }
  EXPECT_EQ(QvSummary_Free(nullptr), S_OK);
}

/// The same edit on a vector.
void edit(Model& model, const ModelItem& item) {
  for (auto at = model.begin(); at != model.end(); ++at) {
    if (at->id != item.id) continue;
    if (item.text)
      at->text = item.text;
    else
      model.erase(at);
    return;
  }
  model.push_back(item);
}

TEST(SummaryItems, LongEditingFollowsAVector) {
  std::mt19937 random(36);
  Model model;
  SummaryList list;
  for (int step = 0; step < 5000; ++step) {
    ModelItem item{"I00" + std::to_string(random() % 10), {}};
    if (random() % 3 != 0) item.text = wide(std::string(random() % 20, static_cast<char>('a' + random() % 26)));
    edit(model, item);
    ASSERT_EQ(QvSummary_SetItem(&list, summary_id(item.id), item.text ? item.text->c_str() : nullptr), S_OK);
    ASSERT_EQ(describe(list), describe(model)) << step;
  }
}

} // namespace
