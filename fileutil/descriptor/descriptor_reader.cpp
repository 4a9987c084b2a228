#include "fileutil/box/read_bytes.h"

#include "qv/mp4/descriptor_visitors.h"

#include <algorithm>

namespace esds {
namespace {

/// The fewest bytes of payload that the fields of a class take.
uint32_t least_size(uint8_t tag) {
  switch (tag) {
  case kInitialObjectTag:
  case kMp4InitialObjectTag: return 2;
  case kElementaryStreamTag: return 3;
  case kDecoderConfigTag: return 13;
  case kSLConfigTag: return 1;
  default: return 0;
  }
}

std::unique_ptr<Descriptor> new_descriptor(uint8_t tag) {
  switch (tag) {
  case kInitialObjectTag:
  case kMp4InitialObjectTag: return std::make_unique<InitialObjectDescriptor>(tag);
  case kElementaryStreamTag: return std::make_unique<ElementaryStreamDescriptor>();
  case kDecoderConfigTag: return std::make_unique<DecoderConfigDescriptor>();
  case kDecoderSpecificTag: return std::make_unique<DecoderSpecificInfo>();
  case kSLConfigTag: return std::make_unique<SLConfigDescriptor>();
  default: return std::make_unique<UnknownDescriptor>(tag);
  }
}

} // namespace

void DescriptorReader::read(Descriptor::Children& into) {
  const auto tag = static_cast<uint8_t>(number(1));
  uint32_t length_bytes = 0;
  const uint32_t size = length(length_bytes);
  const bool is_known = depth_ < kMaxDepth && size >= least_size(tag);
  into.push_back(is_known ? new_descriptor(tag) : std::make_unique<UnknownDescriptor>(tag));
  Descriptor& descriptor = *into.back();
  descriptor.setSize(size);
  descriptor.setLengthBytes(length_bytes);
  ++count_;
  readFields(descriptor);
}

/// With the descriptor's own bytes as what remains.
void DescriptorReader::readFields(Descriptor& descriptor) {
  const uint32_t outer = remaining_;
  const uint32_t own = std::min(descriptor.size(), outer);
  const uint64_t begin = consumed_;
  remaining_ = own;
  ++depth_;
  try {
    descriptor.accept(this);
    if (own < descriptor.size()) throw OutOfBytes();
  } catch (const OutOfBytes&) {
    descriptor.isComplete = false;
    descriptor.bytesRead() = static_cast<uint32_t>(consumed_ - begin);
    throw;
  }
  descriptor.bytesRead() = own;
  --depth_;
  remaining_ = outer - own;
}

void DescriptorReader::readChildren(Descriptor& descriptor) {
  while (remaining_ >= 2 && count_ < kMaxCount)
    read(descriptor.children());
  bytes(remaining_, descriptor.rest);
}

uint32_t DescriptorReader::number(unsigned count) {
  Bytes read;
  bytes(count, read);
  uint32_t value = 0;
  for (const uint8_t byte : read)
    value = value << 8 | byte;
  return value;
}

/// Where there are fewer, they are read before OutOfBytes is thrown.
void DescriptorReader::bytes(uint32_t count, Bytes& into) {
  into = fileutil::read_bytes(in_, std::min(count, remaining_));
  consumed_ += into.size();
  remaining_ -= static_cast<uint32_t>(into.size());
  if (into.size() < count) throw OutOfBytes();
}

/// Seven bits a byte, most significant first; the high bit says that another byte follows.
uint32_t DescriptorReader::length(uint32_t& lengthBytes) {
  uint32_t size = 0;
  for (lengthBytes = 1; lengthBytes <= 4; ++lengthBytes) {
    const uint32_t byte = number(1);
    size = size << 7 | (byte & 0x7F);
    if (byte < 0x80) return size;
  }
  throw OutOfBytes();
}

void DescriptorReader::visit(ElementaryStreamDescriptor* descriptor) {
  descriptor->esId = static_cast<uint16_t>(number(2));
  const uint32_t flags = number(1);
  descriptor->streamDependenceFlag = (flags & 0x80) != 0;
  descriptor->urlFlag = (flags & 0x40) != 0;
  descriptor->ocrStreamFlag = (flags & 0x20) != 0;
  descriptor->streamPriority = flags & 0x1F;
  if (descriptor->streamDependenceFlag) descriptor->dependsOnEsId = static_cast<uint16_t>(number(2));
  if (descriptor->urlFlag) bytes(number(1), descriptor->url);
  if (descriptor->ocrStreamFlag) descriptor->ocrEsId = static_cast<uint16_t>(number(2));
  readChildren(*descriptor);
}

void DescriptorReader::visit(DecoderConfigDescriptor* descriptor) {
  descriptor->objectType = static_cast<uint8_t>(number(1));
  const uint32_t stream = number(1);
  descriptor->streamType = static_cast<uint8_t>(stream >> 2);
  descriptor->upStream = (stream & 2) != 0;
  descriptor->reserved = (stream & 1) != 0;
  descriptor->bufferSize = number(3);
  descriptor->maximumBitRate = number(4);
  descriptor->averageBitRate = number(4);
  readChildren(*descriptor);
}

void DescriptorReader::visit(DecoderSpecificInfo* descriptor) { bytes(remaining_, descriptor->info); }

void DescriptorReader::visit(SLConfigDescriptor* descriptor) {
  descriptor->predefined = static_cast<uint8_t>(number(1));
  bytes(remaining_, descriptor->rest);
}

void DescriptorReader::visit(InitialObjectDescriptor* descriptor) {
  const uint32_t bits = number(2);
  descriptor->objectDescriptorId = static_cast<uint16_t>(bits >> 6);
  descriptor->urlFlag = (bits & 0x20) != 0;
  descriptor->includeInlineProfileLevelFlag = (bits & 0x10) != 0;
  descriptor->reserved = bits & 15;
  if (descriptor->urlFlag)
    bytes(number(1), descriptor->url);
  else
    for (uint8_t& level : descriptor->profileLevels)
      level = static_cast<uint8_t>(number(1));
  readChildren(*descriptor);
}

void DescriptorReader::visit(UnknownDescriptor* descriptor) { bytes(remaining_, descriptor->bytes); }

} // namespace esds
