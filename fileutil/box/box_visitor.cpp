#include "qv/mp4/boxes.h"

namespace fileutil {

// Overload resolution finds the group: the nearest base of the class.
#define QV_MP4_CLASS_ROW(Class)                                                                                        \
  void BoxVisitor::visit(Class* box) { visitGroup(box); }
QV_MP4_EVERY_CLASS
#undef QV_MP4_CLASS_ROW

void BoxVisitor::visitContainer(IContainerBox* box) {
  for (IBox* child : box->children())
    child->accept(this);
}

void BoxVisitor::visitData(IDataBox* /*box*/) {}
void BoxVisitor::visitTag(ITagBox* /*box*/) {}
void BoxVisitor::visitAsset(IThreeGPPAssetMetaBox* /*box*/) {}
void BoxVisitor::visitLeaf(IBox* /*box*/) {}

} // namespace fileutil
