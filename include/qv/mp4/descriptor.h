// Descriptors of MPEG-4 systems (ISO/IEC 14496-1, clause 7.2.6), as "esds" and "iods" hold them: a tag, a length of
// one to four bytes of seven bits each, fields, and descriptors inside.
//
// What has been read is written back byte for byte, the width of the length included, as long as it is complete.
// Nothing here has a lock: a tree of descriptors belongs to one thread at a time.
#pragma once

#include "qv/export.h"

#include <array>
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

using Bytes = std::vector<uint8_t>;

/// Tags that have a class; any other is an UnknownDescriptor.
inline constexpr uint8_t kInitialObjectTag = 0x02;
inline constexpr uint8_t kElementaryStreamTag = 0x03;
inline constexpr uint8_t kDecoderConfigTag = 0x04;
inline constexpr uint8_t kDecoderSpecificTag = 0x05;
inline constexpr uint8_t kSLConfigTag = 0x06;
inline constexpr uint8_t kMp4InitialObjectTag = 0x10; ///< InitialObjectDescriptor in a file, ISO/IEC 14496-14

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

  /// The longest payload that a length can express.
  static constexpr uint32_t kMaxSize = (1u << 28) - 1;

  explicit Descriptor(uint8_t tag) : tag_(tag) {}
  virtual ~Descriptor() = default;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  virtual void accept(IDescriptorVisitor* visitor) = 0;

  uint8_t tag() const { return tag_; }
  /// Bytes of its payload: as read, or as DescriptorPrepareWrite has computed them.
  uint32_t size() const { return size_; }
  void setSize(uint32_t size) { size_ = size; }
  /// Bytes of its length field, 1 to 4: as read where the size still fits, else as few as it needs.
  uint32_t lengthBytes() const;
  void setLengthBytes(uint32_t count) { lengthBytes_ = count; }
  /// Bytes consumed of its payload.
  uint32_t& bytesRead() { return bytesRead_; }
  /// Bytes that it takes in all.
  uint32_t sizeWithTagAndLength() const { return 1 + lengthBytes() + size(); }

  Children& children() { return children_; }
  const Children& children() const { return children_; }
  /// The first child of that class, or null.
  template <class Class>
  Class* child() const {
    for (const auto& each : children_)
      if (auto* const found = dynamic_cast<Class*>(each.get())) return found;
    return nullptr;
  }

  /// What its payload holds behind the known fields and children, where that is no descriptor.
  Bytes rest;
  /// False where it, or one inside it, claimed more bytes than there were: fields that were not there are as
  /// constructed.
  bool isComplete = true;

private:
  uint8_t tag_;
  uint32_t size_ = 0;
  uint32_t lengthBytes_ = 1;
  uint32_t bytesRead_ = 0;
  Children children_;
};

/// What the concrete class `Class` adds to Descriptor.
template <class Class>
class DescriptorOf : public Descriptor {
public:
  using Descriptor::Descriptor;
  void accept(IDescriptorVisitor* visitor) override { visitor->visit(static_cast<Class*>(this)); }
};

/// What a track's stream is, for ElementaryStreamDescriptor::init.
struct StreamParameters {
  uint16_t esId = 0;           ///< 0 in a file: the track's id says it
  uint8_t objectType = 0x40;   ///< clause 7.2.6.6; 0x40 is MPEG-4 audio
  uint8_t streamType = 5;      ///< the same; 5 is audio
  uint32_t bufferSize = 0;     ///< bytes, less than 2^24
  uint32_t maximumBitRate = 0; ///< bits per second, of any one second
  uint32_t averageBitRate = 0; ///< bits per second; 0 where it varies
};

/// Clause 7.2.6.5. Children: DecoderConfigDescriptor, SLConfigDescriptor.
class QV_API ElementaryStreamDescriptor : public DescriptorOf<ElementaryStreamDescriptor> {
public:
  ElementaryStreamDescriptor() : DescriptorOf(kElementaryStreamTag) {}

  /// Becomes a stream without dependence, URL and clock reference, with the children that a file asks for: a
  /// DecoderConfigDescriptor, which holds the bytes for the decoder where there are any, and an SLConfigDescriptor.
  void init(const StreamParameters& parameters, const Bytes& decoderSpecificInfo);

  uint16_t esId = 0;
  bool streamDependenceFlag = false;
  bool urlFlag = false;
  bool ocrStreamFlag = false;
  uint8_t streamPriority = 0; ///< 0 to 31
  uint16_t dependsOnEsId = 0; ///< with streamDependenceFlag
  Bytes url;                  ///< with urlFlag; at most 255 bytes
  uint16_t ocrEsId = 0;       ///< with ocrStreamFlag
};

/// Clause 7.2.6.6. Its child: DecoderSpecificInfo.
class QV_API DecoderConfigDescriptor : public DescriptorOf<DecoderConfigDescriptor> {
public:
  DecoderConfigDescriptor() : DescriptorOf(kDecoderConfigTag) {}

  uint8_t objectType = 0;
  uint8_t streamType = 0; ///< 0 to 63
  bool upStream = false;
  bool reserved = true;
  uint32_t bufferSize = 0; ///< bytes, less than 2^24
  uint32_t maximumBitRate = 0;
  uint32_t averageBitRate = 0;
};

/// Clause 7.2.6.7. For AAC an AudioSpecificConfig, ISO/IEC 14496-3, clause 1.6.2.1.
class QV_API DecoderSpecificInfo : public DescriptorOf<DecoderSpecificInfo> {
public:
  DecoderSpecificInfo() : DescriptorOf(kDecoderSpecificTag) {}
  Bytes info;
};

/// Clause 7.2.6.8. What follows the predefined set, as where that is 0, is `rest`.
class QV_API SLConfigDescriptor : public DescriptorOf<SLConfigDescriptor> {
public:
  SLConfigDescriptor() : DescriptorOf(kSLConfigTag) {}
  uint8_t predefined = 2; ///< 2: the set for files
};

/// Clause 7.2.6.4.
class QV_API InitialObjectDescriptor : public DescriptorOf<InitialObjectDescriptor> {
public:
  explicit InitialObjectDescriptor(uint8_t tag = kMp4InitialObjectTag) : DescriptorOf(tag) {}

  uint16_t objectDescriptorId = 1; ///< 0 to 1023
  bool urlFlag = false;
  bool includeInlineProfileLevelFlag = false;
  uint8_t reserved = 15; ///< 0 to 15
  Bytes url;             ///< with urlFlag; at most 255 bytes
  /// Without urlFlag: object descriptors, scene, audio, visual, graphics. 0xFF: none.
  std::array<uint8_t, 5> profileLevels = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
};

/// A descriptor of any other tag, one that is too short for its fields, or one that lies too deep.
class QV_API UnknownDescriptor : public DescriptorOf<UnknownDescriptor> {
public:
  explicit UnknownDescriptor(uint8_t tag) : DescriptorOf(tag) {}
  Bytes bytes;
};

/// Reads one descriptor with what is inside it, at most `limit` bytes. `consumed` is set to the bytes read. Null where
/// not even a tag and a length are there. Where a descriptor claims more than remains, what was read is kept, and
/// isComplete is false. Bytes of the limit behind the descriptor are not read.
QV_API std::unique_ptr<Descriptor> readDescriptor(std::istream& in, uint32_t limit, uint64_t& consumed);

/// Computes the sizes of a descriptor and of those inside it, as they will be written. Returns the size with tag and
/// length; 0 for null.
QV_API uint32_t prepareDescriptor(Descriptor* descriptor);

/// Writes a descriptor with the sizes that it has, so prepareDescriptor comes first where something was changed.
/// Returns the bytes written; 0 for null. A size past Descriptor::kMaxSize sets the stream's failbit.
QV_API uint64_t writeDescriptor(std::ostream& out, Descriptor* descriptor);

} // namespace esds
