// Writing a tree of boxes: BoxWriter from their fields, BoxCopy with the payloads that only a source holds.
#pragma once

#include "qv/mp4/boxes.h"

#include <fstream>
#include <istream>

namespace fileutil {

class QV_API BoxWriter : public BoxVisitor {
public:
  BoxWriter(std::fstream& out, Boxes* root, int64_t chunkOffsetShift);

  /// Writes the whole tree; the bytes written.
  uint64_t doIt();
  uint64_t writeBoxes(Boxes* list);
  /// The header alone, by type and planned size; its length.
  uint64_t writeBox(IBox* box);
  uint64_t writeHeader(uint64_t size, FourCC type);
  static uint64_t WriteHeader(std::ostream& out, uint64_t size, FourCC type);
  std::fstream& out();

protected:
  void addBytesWritten(uint64_t bytes);
};

class QV_API BoxCopy : public BoxWriter {
public:
  BoxCopy(std::fstream& out, std::istream& source, Boxes* root, int64_t chunkOffsetShift);
  std::istream& in();
};

} // namespace fileutil
