// Reading a tree of boxes.
//
//     fileutil::BoxReader reader(QV_TEXT("song.m4a"));
//     const std::unique_ptr<fileutil::Boxes> boxes(reader.readFile());
#pragma once

#include "qv/mp4/boxes.h"
#include "qv/mp4/data_handler.h"

namespace fileutil {

class IBoxFactory;

class QV_API BoxReader : public BoxVisitor {
public:
  /// Lists of boxes lie no deeper than this below the file's own; deeper ones are UnknownBoxes.
  static constexpr unsigned kMaxDepth = 32;

  explicit BoxReader(const WCHAR* path);
  explicit BoxReader(std::ifstream& in);
  BoxReader(std::istream& in, uint64_t length);
  BoxReader(const BoxReader& other);
  ~BoxReader() override;

  DataHandler& in();

  /// Each reads the whole source, from its beginning where that can be sought, and returns a list that the caller owns.
  Boxes* readFile();
  Boxes* readMeta();
  Boxes* readMetaForUpdate();

  uint64_t readBoxes(Boxes* list, uint64_t limit);
  void incBytesRead(IBox* box, uint64_t bytes);
};

} // namespace fileutil
