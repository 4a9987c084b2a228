#include "qv/mp4/boxes.h"

#include <gtest/gtest.h>
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
