// What BoxWriter writes behind a header, without children, in memory.
#pragma once

#include "qv/mp4/box_writer.h"

#include <streambuf>

namespace fileutil {

class FieldWriter {
public:
  FieldWriter();
  /// The payload of a box from its fields; of a box with children only what stands in front of them; nothing of a box
  /// whose payload is in its file alone.
  Bytes fieldsOf(IBox* box);

private:
  class Buffer : public std::streambuf {
  public:
    Bytes bytes;

  protected:
    std::streamsize xsputn(const char* from, std::streamsize count) override;
    int_type overflow(int_type character) override;
  };

  class Writer : public BoxWriter {
  public:
    using BoxWriter::BoxWriter;
    using BoxWriter::visit;
    void visit(FreeBox* /*box*/) override {}

  protected:
    void visitContainer(IContainerBox* /*box*/) override {}
    void visitSourcePayload(IBox* /*box*/) override {}
  };

  Buffer buffer_;
  std::fstream out_;
  Writer writer_;
};

} // namespace fileutil
