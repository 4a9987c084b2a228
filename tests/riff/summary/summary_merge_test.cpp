#include "tests/riff/summary/summary_text.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

using namespace riff_test;

namespace {

TEST(SummaryMerge, BringsOneListIntoAnother) {
  const struct {
    const char* name;
    const char* dst;
    const char* src;
    bool overwrite;
    const char* copied;
    const char* moved;
  } cases[] = {
      {"nothing", "INAM=a;IART", "", true, "INAM=a;IART", "INAM=a;IART"},
      {"into nothing", "", "INAM=a;IART;ICMT=", false, "INAM=a;IART;ICMT=", "INAM=a;IART;ICMT="},
      {"a text where there was none", "INAM", "INAM=a", true, "INAM=a", "INAM=a"},
      {"none over a text", "INAM=a;IART=b", "INAM", true, "IART=b", "INAM;IART=b"},
      {"none over a text, kept", "INAM=a;IART=b", "INAM", false, "INAM=a;IART=b", "INAM=a;IART=b"},
      {"none is added", "INAM=a", "IART", false, "INAM=a;IART", "INAM=a;IART"},
      {"an id twice in the first", "INAM=a;INAM=b", "INAM=x", true, "INAM=x;INAM=b", "INAM=x;INAM=b"},
      {"an id twice in the second", "INAM=a", "IART=x;IART=y", false, "INAM=a;IART=x", "INAM=a;IART=x;IART=y"},
      {"twice and shared", "INAM=a", "INAM=x;INAM=y", true, "INAM=y", "INAM=y"},
  };
  for (const auto& row : cases) {
    for (const bool move : {false, true}) {
      SCOPED_TRACE(std::string(row.name) + (move ? ", moved" : ", copied"));
      SummaryList dst(row.dst);
      SummaryList src(row.src);
      EXPECT_EQ(QvSummary_Merge(&dst, &src, row.overwrite, move), S_OK);
      EXPECT_EQ(describe(dst), move ? row.moved : row.copied);
      EXPECT_EQ(describe(src), move ? "" : row.src);
    }
  }
}

TEST(SummaryMerge, TheFirstFailureEndsCopying) {
  SummaryList dst("INAM=a");
  SummaryList src("IART=b;....=x;ICMT=c"); // no item can be set under id 0
  EXPECT_EQ(QvSummary_Merge(&dst, &src, TRUE, FALSE), E_INVALIDARG);
  EXPECT_EQ(describe(dst), "INAM=a;IART=b");
  EXPECT_EQ(describe(src), "IART=b;....=x;ICMT=c");
  EXPECT_EQ(QvSummary_Merge(&dst, &src, FALSE, TRUE), S_OK);
  EXPECT_EQ(describe(dst), "INAM=a;IART=b;....=x;ICMT=c");
}

TEST(SummaryMerge, MovedTextsAreNotCopied) {
  SummaryList dst("INAM=a;IART=b");
  SummaryList src("IART=x;ICMT=c");
  const WCHAR* const artist = src.items[0].text;
  const WCHAR* const comment = src.items[1].text;
  EXPECT_EQ(QvSummary_Merge(&dst, &src, TRUE, TRUE), S_OK);
  EXPECT_EQ(dst.items[1].text, artist);
  EXPECT_EQ(dst.items[2].text, comment);
  SummaryList empty;
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

/// What merging is meant to come to, where no list has an id twice: by look-up instead of by moving records.
Model merged(const Model& dst, const Model& src, bool overwrite) {
  const auto find = [](const Model& model, const std::string& id) {
    const ModelItem* found = nullptr;
    for (const ModelItem& item : model)
      if (item.id == id) found = &item;
    return found;
  };
  Model out;
  for (const ModelItem& item : dst) {
    const ModelItem* const other = find(src, item.id);
    out.push_back(overwrite && other ? *other : item);
  }
  for (const ModelItem& item : src)
    if (!find(dst, item.id)) out.push_back(item);
  return out;
}

Model some_items(std::mt19937& random) {
  Model model;
  std::set<unsigned> used;
  for (unsigned n = random() % 9; n != 0; --n) {
    const unsigned id = random() % 12;
    if (used.insert(id).second) model.push_back({"I" + std::to_string(100 + id), wide(std::to_string(random()))});
  }
  return model;
}

TEST(SummaryMerge, AgreesWithAModel) {
  std::mt19937 random(37);
  for (int round = 0; round < 1000; ++round) {
    const Model a = some_items(random);
    const Model b = some_items(random);
    for (int flags = 0; flags < 4; ++flags) {
      SummaryList dst(a);
      SummaryList src(b);
      ASSERT_EQ(QvSummary_Merge(&dst, &src, flags & 1, flags & 2), S_OK);
      ASSERT_EQ(describe(dst), describe(merged(a, b, (flags & 1) != 0))) << describe(a) << " <- " << describe(b);
    }
  }
}

TEST(SummaryCompare, LooksAtTextsInOrder) {
  const struct {
    const char* a;
    const char* b;
    bool equal;
  } cases[] = {
      {"", "", true},
      {"INAM=a;IART=b", "INAM=a;IART=b", true},
      {"INAM=a;IART=b", "ICMT=a;ICOP=b", true},
      {"INAM=a;IART=b", "IART=b;INAM=a", false},
      {"INAM=a", "INAM=a;IART=b", false},
      {"INAM=a", "INAM=A", false},
      {"INAM=a", "INAM=ab", false},
      {"INAM", "IART", true},
      {"INAM", "INAM=", false},
      {"INAM=", "INAM=", true},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(std::string(row.a) + " | " + row.b);
    const SummaryList a(row.a);
    const SummaryList b(row.b);
    EXPECT_EQ(QvSummary_Compare(&a, &b), row.equal ? TRUE : FALSE);
    EXPECT_EQ(QvSummary_Compare(&b, &a), row.equal ? TRUE : FALSE);
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
  }
}

} // namespace
