// Planning where every box of a tree is written, and whether the media can stay where it is.
#pragma once

#include "qv/mp4/boxes.h"

namespace fileutil {

class QV_API PrepareWrite : public BoxVisitor {
public:
  explicit PrepareWrite(Boxes* root);
  void doIt();
  bool mustCopy() const;
  /// The planned position of "mdat" minus that as read; 0 without one.
  int64_t getMediaDataOffset() const;
  void push(Boxes* list);
  void pop();
  Boxes* back() const;
  uint64_t& currentSize();
  uint64_t& currentPos();

private:
  IBox* getPrevFreeBox(MediaDataBox* media);
  bool updateFreeSize(FreeBox* room, const MediaDataBox* media);
};

} // namespace fileutil
