// What is done with descriptors: reading their fields, computing their sizes, writing and printing them.
#pragma once

#include "qv/mp4/descriptor.h"

namespace esds {

/// Reads descriptors from a stream.
class QV_API DescriptorReader : public IDescriptorVisitor {
public:
  /// A descriptor that lies deeper is an UnknownDescriptor; the outermost is at depth 1.
  static constexpr unsigned kMaxDepth = 8;
  /// What follows once so many were read is `rest` of the descriptor around it.
  static constexpr unsigned kMaxCount = 1024;

  DescriptorReader(std::istream& in, uint32_t limit) : in_(in), remaining_(limit) {}

  /// Reads a descriptor with those inside it into a list. Throws OutOfBytes where one claims more than remains of what
  /// is around it, or of the stream; what was read until then is in the list.
  void read(Descriptor::Children& into);
  /// Bytes read.
  uint64_t consumed() const { return consumed_; }

  void visit(ElementaryStreamDescriptor* descriptor) override;
  void visit(DecoderConfigDescriptor* descriptor) override;
  void visit(DecoderSpecificInfo* descriptor) override;
  void visit(SLConfigDescriptor* descriptor) override;
  void visit(InitialObjectDescriptor* descriptor) override;
  void visit(UnknownDescriptor* descriptor) override;

private:
  uint32_t number(unsigned bytes);
  void bytes(uint32_t count, Bytes& into);
  uint32_t length(uint32_t& lengthBytes);
  void readFields(Descriptor& descriptor);
  void readChildren(Descriptor& descriptor);

  std::istream& in_;
  uint32_t remaining_; ///< of the descriptor that is being read
  uint64_t consumed_ = 0;
  unsigned depth_ = 0;
  unsigned count_ = 0;
};

/// Sets the sizes of the descriptor that it visits, and of those inside it. A sum near or past 2^32 stays
/// below it, where it is too large to be written.
class QV_API DescriptorPrepareWrite : public IDescriptorVisitor {
public:
  void visit(ElementaryStreamDescriptor* descriptor) override;
  void visit(DecoderConfigDescriptor* descriptor) override;
  void visit(DecoderSpecificInfo* descriptor) override;
  void visit(SLConfigDescriptor* descriptor) override;
  void visit(InitialObjectDescriptor* descriptor) override;
  void visit(UnknownDescriptor* descriptor) override;

private:
  void prepare(Descriptor& descriptor, uint64_t fields);
};

/// Writes descriptors with the sizes that they have.
class QV_API DescriptorWriter : public IDescriptorVisitor {
public:
  explicit DescriptorWriter(std::ostream& out) : out_(out) {}
  uint64_t bytesWritten() const { return written_; }

  void visit(ElementaryStreamDescriptor* descriptor) override;
  void visit(DecoderConfigDescriptor* descriptor) override;
  void visit(DecoderSpecificInfo* descriptor) override;
  void visit(SLConfigDescriptor* descriptor) override;
  void visit(InitialObjectDescriptor* descriptor) override;
  void visit(UnknownDescriptor* descriptor) override;

private:
  void number(uint32_t value, unsigned bytes);
  void bytes(const Bytes& bytes);
  void text(const Bytes& text);
  void header(const Descriptor& descriptor);
  void rest(Descriptor& descriptor);

  std::ostream& out_;
  uint64_t written_ = 0;
};

/// Prints descriptors, a line for each and for each of its fields, inner ones further to the right. Who wants another
/// form overrides begin, field, bytes and end.
class QV_API DescriptorPrinter : public IDescriptorVisitor {
public:
  explicit DescriptorPrinter(std::ostream& out, unsigned indent = 0) : out_(out), indent_(indent) {}

  void visit(ElementaryStreamDescriptor* descriptor) override;
  void visit(DecoderConfigDescriptor* descriptor) override;
  void visit(DecoderSpecificInfo* descriptor) override;
  void visit(SLConfigDescriptor* descriptor) override;
  void visit(InitialObjectDescriptor* descriptor) override;
  void visit(UnknownDescriptor* descriptor) override;

protected:
  /// A descriptor begins; `name` is the standard's.
  virtual void begin(const char* name, const Descriptor& descriptor);
  virtual void field(const char* name, uint64_t value);
  /// Called where there are any.
  virtual void bytes(const char* name, const Bytes& bytes);
  virtual void end();

  std::ostream& out() { return out_; }

private:
  void line(const char* name);
  void finish(Descriptor& descriptor);

  std::ostream& out_;
  unsigned indent_;
};

} // namespace esds
