// Descriptors of MPEG-4 systems (ISO/IEC 14496-1, clause 7.2.6), as "esds" and "iods" hold them: a tag, a length of
// one to four bytes of seven bits each, fields, and descriptors inside.
#pragma once

#include "qv/export.h"

#include <cstdint>
#include <istream>
#include <list>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace esds {

class ElementaryStreamDescriptor;
class DecoderConfigDescriptor;
class DecoderSpecificInfo;
class SLConfigDescriptor;
class InitialObjectDescriptor;
class UnknownDescriptor;

/// A descriptor claims more bytes than remain. Raised inside readers, and caught at the box.
class QV_API OutOfBytes : public std::runtime_error {
public:
  OutOfBytes();
};

class QV_API IDescriptorVisitor {
public:
  virtual ~IDescriptorVisitor() = default;
  virtual void visit(ElementaryStreamDescriptor* descriptor) = 0;
  virtual void visit(DecoderConfigDescriptor* descriptor) = 0;
  virtual void visit(DecoderSpecificInfo* descriptor) = 0;
  virtual void visit(SLConfigDescriptor* descriptor) = 0;
  virtual void visit(InitialObjectDescriptor* descriptor) = 0;
  virtual void visit(UnknownDescriptor* descriptor) = 0;
};

/// What every descriptor has.
class QV_API Descriptor {
public:
  using Children = std::list<std::unique_ptr<Descriptor>>;

  explicit Descriptor(uint8_t tag) : tag_(tag) {}
  virtual ~Descriptor() = default;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  virtual void accept(IDescriptorVisitor* visitor) = 0;

  uint8_t tag() const { return tag_; }
  /// Bytes of its payload: as read, or as DescriptorPrepareWrite has computed them.
  uint32_t size() const { return size_; }
  void setSize(uint32_t size) { size_ = size; }
  /// Bytes of its length field: as read where the size still fits, else as few as it needs.
  uint32_t lengthBytes() const;
  void setLengthBytes(uint32_t count) { lengthBytes_ = count; }
  /// Bytes consumed of its payload.
  uint32_t& bytesRead() { return bytesRead_; }
  /// Bytes that it takes in all.
  uint32_t sizeWithTagAndLength() const { return 1 + lengthBytes() + size(); }

  Children& children() { return children_; }
  const Children& children() const { return children_; }

private:
  uint8_t tag_;
  uint32_t size_ = 0;
  uint32_t lengthBytes_ = 1;
  uint32_t bytesRead_ = 0;
  Children children_;
};

} // namespace esds
