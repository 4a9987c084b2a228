#include "qv/mp4/boxes.h"

#include <gtest/gtest.h>
#include <random>
#include <stdexcept>

using namespace fileutil;

namespace {

/// Writes down what it is given.
class Recorder : public BoxVisitor {
public:
  using BoxVisitor::visit;
  void visit(FreeBox* /*box*/) override { seen += "free "; }
  void visit(MovieBox* box) override {
    seen += "moov ";
    BoxVisitor::visit(box);
  }
  std::string seen;

protected:
  void visitContainer(IContainerBox* box) override {
    seen += "( ";
    BoxVisitor::visitContainer(box);
    seen += ") ";
  }
  void visitData(IDataBox* box) override { seen += "data" + std::to_string(box->typeIndicator()) + " "; }
  void visitTag(ITagBox* /*box*/) override { seen += "tag "; }
  void visitAsset(IThreeGPPAssetMetaBox* /*box*/) override { seen += "asset "; }
  void visitLeaf(IBox* /*box*/) override { seen += "leaf "; }
};

TEST(BoxVisitor, GoesThroughChildrenInOrderAndByGroup) {
  MovieBox movie;
  movie.children().push_back(new FreeBox);
  auto* const meta = new MetaBox;
  movie.children().push_back(meta);
  meta->children().push_back(new DataBox<21>);
  meta->children().push_back(new UnknownDataBox);
  meta->children().push_back(new TagBox<QvFourCC("mean")>);
  meta->children().push_back(new ThreeGPPAssetMetaBox<QvFourCC("titl")>);
  movie.children().push_back(new UnknownGuidBox);
  Recorder recorder;
  movie.accept(&recorder);
  EXPECT_EQ(recorder.seen, "moov ( free ( data21 data0 tag asset ) leaf ) ");
}

/// Boxes put in, taken out and given away in any place, against a vector of them; both ways through the list.
TEST(Boxes, AreInTheOrderOfTheirPlaces) {
  std::minstd_rand random(7);
  Boxes boxes;
  std::vector<IBox*> model;
  for (int round = 0; round < 2000; ++round) {
    const size_t at = random() % (model.size() + 1);
    const Boxes::iterator place = std::next(boxes.begin(), static_cast<std::ptrdiff_t>(at));
    if (at == model.size() || random() % 2 == 0) {
      auto* const box = new FreeBox;
      EXPECT_EQ(*boxes.insert(place, box), box);
      model.insert(model.begin() + static_cast<std::ptrdiff_t>(at), box);
    } else {
      if (random() % 2 == 0) {
        const Boxes::iterator next = boxes.erase(place);
        EXPECT_EQ(next, std::next(boxes.begin(), static_cast<std::ptrdiff_t>(at)));
      } else
        delete boxes.release(place);
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
    }
    ASSERT_EQ(boxes.size(), model.size());
    ASSERT_TRUE(std::equal(boxes.begin(), boxes.end(), model.begin(), model.end()));
    std::vector<IBox*> backwards;
    for (Boxes::iterator from = boxes.end(); from != boxes.begin();)
      backwards.insert(backwards.begin(), *--from);
    ASSERT_EQ(backwards, model);
    ASSERT_EQ(boxes.front(), model.empty() ? nullptr : model.front());
  }
  boxes.clear();
  EXPECT_TRUE(boxes.empty());
  EXPECT_EQ(boxes.back(), nullptr);
}

TEST(Boxes, HoldNoMoreThanTheirMaximum) {
  Boxes boxes;
  for (size_t k = 0; k < Boxes::kMaxLength; ++k)
    boxes.push_back(new FreeBox);
  try {
    boxes.push_back(new FreeBox);
    FAIL() << "one more than the maximum";
  } catch (const std::length_error& error) {
    EXPECT_STREQ(error.what(), "list too long");
  }
  EXPECT_EQ(boxes.size(), size_t{Boxes::kMaxLength});
}

} // namespace
