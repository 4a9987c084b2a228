// Summary lists in memory: items set, found and freed; lists merged, copied and compared.
#include "tests/riff/summary/summary_text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

using namespace riff_test;

namespace {

// ---- the same on vectors -------------------------------------------------------------------------------------------

Model::iterator find(Model& model, const std::string& id) {
  return std::find_if(
      model.begin(), model.end(), [&](const ModelItem& item) { return item.id == id; });
}

HRESULT edit(Model& model, const ModelItem& item) {
  if (item.id == "....") return E_INVALIDARG;
  const auto at = find(model, item.id);
  if (at == model.end())
    model.push_back(item);
  else if (item.text)
    at->text = item.text;
  else
    model.erase(at);
  return S_OK;
}

HRESULT merge_copies(Model& dst, const Model& src, bool overwrite) {
  HRESULT result = S_OK;
  for (auto item = src.begin(); item != src.end() && result == S_OK; ++item)
    if (overwrite || find(dst, item->id) == dst.end()) result = edit(dst, *item);
  return result;
}

/// Texts that are missing go over too, and so does every item of an id that the other list lacks.
void merge_moved(Model& dst, const Model& src, bool overwrite) {
  Model old = dst;
  for (const ModelItem& item : src)
    if (find(old, item.id) == old.end())
      dst.push_back(item);
    else if (overwrite)
      *find(dst, item.id) = item;
}

/// Up to eight items; some ids are there twice, some items have no text.
Model some_items(std::mt19937& random) {
  Model model(random() % 9);
  for (ModelItem& item : model) {
    item.id = "I" + std::to_string(100 + random() % 8);
    if (random() % 32 == 0) item.id = "....";
    if (random() % 5 != 0 || item.id == "....")
      item.text = wide(std::string(random() % 20, static_cast<char>('a' + random() % 26)));
  }
  return model;
}

TEST(SummaryItems, LongEditingFollowsAVector) {
  std::mt19937 random(36);
  for (int round = 0; round < 300; ++round) {
    Model model = some_items(random);
    SummaryList list(model);
    Model edits = some_items(random);
    for (int more = 0; more < 4; ++more)
      std::ranges::copy(some_items(random), std::back_inserter(edits));
    for (const ModelItem& item : edits) {
      const DWORD old_count = list.count;
      const HRESULT expected = edit(model, item);
      ASSERT_EQ(QvSummary_SetItem(&list, summary_id(item.id), item.text ? item.text->c_str() : nullptr), expected);
      ASSERT_EQ(describe(list), describe(model));
      if (list.count == 0 || list.count >= old_count) continue;
      EXPECT_EQ(list.items[list.count].id, 0u) << "the vacated record";
      EXPECT_EQ(list.items[list.count].text, nullptr);
    }
  }
  SummaryList list("....=a");
  EXPECT_EQ(QvSummary_SetItem(&list, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(describe(list), "....=a");
  EXPECT_EQ(QvSummary_SetItem(nullptr, summary_id("INAM"), QV_TEXT("a")), E_INVALIDARG);
}

TEST(SummaryMerge, FollowsVectors) {
  std::mt19937 random(37);
  for (int round = 0; round < 4000; ++round) {
    const Model a = some_items(random), b = some_items(random);
    const bool overwrite = random() % 2 != 0, move = random() % 2 != 0;
    SCOPED_TRACE(describe(a) + " <- " + describe(b) + (overwrite ? ", overwritten" : "") + (move ? ", moved" : ""));
    SummaryList dst(a), src(b);
    Model expected = a;
    HRESULT result = S_OK;
    if (move)
      merge_moved(expected, b, overwrite);
    else
      result = merge_copies(expected, b, overwrite);
    ASSERT_EQ(QvSummary_Merge(&dst, &src, overwrite, move), result);
    ASSERT_EQ(describe(dst), describe(expected));
    ASSERT_EQ(describe(src), move ? "" : describe(b));
  }
}

// ---- what vectors do not show --------------------------------------------------------------------------------------

TEST(SummaryItems, ATextMayComeFromTheListItself) {
  SummaryList list("INAM=title;IART=b");
  EXPECT_EQ(QvSummary_SetItem(&list, summary_id("INAM"), list.items[0].text + 2), S_OK);
  EXPECT_EQ(QvSummary_SetItem(&list, summary_id("ICMT"), list.items[0].text), S_OK);
  EXPECT_EQ(describe(list), "INAM=tle;IART=b;ICMT=tle");
}

TEST(SummaryItems, AreFoundByTheFirstWithTheId) {
  const SummaryList list("INAM=a;IART;ICMT=;INAM=b"), empty;
  const struct {
    const _summarylisttag* list;
    const char* id;
    HRESULT index;
    const WCHAR* text;
  } cases[] = {
      {&list, "INAM", 0, list.items[0].text},         {&list, "IART", 1, nullptr},
      {&list, "ICMT", 2, list.items[2].text},         {&list, "inam", static_cast<HRESULT>(0x8004E00A), nullptr},
      {&list, "....", QVERR_RIFF_NOTFOUND, nullptr},  {&empty, "INAM", QVERR_RIFF_NOTFOUND, nullptr},
      {nullptr, "INAM", QVERR_RIFF_NOTFOUND, nullptr}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(QvSummary_GetItemIndex(row.list, summary_id(row.id)), row.index);
    EXPECT_EQ(QvSummary_GetItemText(row.list, summary_id(row.id)), row.text);
  }
}

TEST(SummaryMerge, MovedTextsAreNotCopied) {
  SummaryList dst("INAM=a;IART=b"), src("IART=x;ICMT=c"), empty;
  const WCHAR* const artist = src.items[0].text;
  const WCHAR* const comment = src.items[1].text;
  EXPECT_EQ(QvSummary_Merge(&dst, &src, TRUE, TRUE), S_OK);
  EXPECT_EQ(dst.items[1].text, artist);
  EXPECT_EQ(dst.items[2].text, comment);
  const _summaryitemtag* const items = dst.items;
  EXPECT_EQ(QvSummary_Merge(&empty, &dst, FALSE, TRUE), S_OK);
  EXPECT_EQ(empty.items, items);
}

TEST(SummaryMerge, OneListTwiceAndNone) {
  SummaryList list("INAM=a;IART");
  for (const BOOL move : {FALSE, TRUE}) {
    EXPECT_EQ(QvSummary_Merge(&list, &list, TRUE, move), S_OK);
    EXPECT_EQ(QvSummary_Merge(&list, nullptr, TRUE, move), E_INVALIDARG);
    EXPECT_EQ(QvSummary_Merge(nullptr, &list, TRUE, move), E_INVALIDARG);
  }
  EXPECT_EQ(describe(list), "INAM=a;IART");
}

TEST(SummaryCompare, LooksAtTextsInOrder) {
  const char* const lists[] = {"",       "INAM=a;IART=b", "ICMT=a;ICOP=b", "IART=b;INAM=a", "INAM=a",
                               "INAM=A", "INAM=ab",       "INAM",          "IART",          "INAM="};
  const auto texts_of = [](const char* items) {
    std::vector<std::optional<qv::WString>> texts;
    for (const ModelItem& item : parse(items))
      texts.push_back(item.text);
    return texts;
  };
  for (const char* first : lists)
    for (const char* second : lists) {
      const SummaryList a(first), b(second);
      EXPECT_EQ(QvSummary_Compare(&a, &b), texts_of(first) == texts_of(second)) << first << " | " << second;
      EXPECT_EQ(QvSummary_Compare(&a, nullptr), FALSE);
      EXPECT_EQ(QvSummary_Compare(nullptr, &b), FALSE);
    }
  EXPECT_EQ(QvSummary_Compare(nullptr, nullptr), FALSE);
}

TEST(SummaryCopy, IsDeep) {
  for (const char* items : {"", "INAM=a;IART;ICMT=;INAM=b;....=z"}) {
    const SummaryList src(items);
    SummaryList dst("IOLD=replaced");
    EXPECT_EQ(QvSummary_Copy(&dst, &src), S_OK);
    EXPECT_EQ(describe(dst), items);
    EXPECT_EQ(describe(src), items);
    for (DWORD k = 0; k < src.count; ++k)
      EXPECT_TRUE(!src.items[k].text || src.items[k].text != dst.items[k].text);
    EXPECT_EQ(QvSummary_Copy(&dst, &dst), S_OK);
    EXPECT_EQ(describe(dst), items);
    EXPECT_EQ(QvSummary_Copy(&dst, nullptr), E_INVALIDARG);
    EXPECT_EQ(QvSummary_Copy(nullptr, &src), E_INVALIDARG);
    for (_summarylisttag* freed : {&dst, &dst, static_cast<SummaryList*>(nullptr)})
      EXPECT_EQ(QvSummary_Free(freed), S_OK);
    EXPECT_EQ(describe(dst), "");
  }
}

} // namespace
