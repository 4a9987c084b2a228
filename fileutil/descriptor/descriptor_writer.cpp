#include "qv/mp4/descriptor_visitors.h"

#include <algorithm>

namespace esds {
namespace {

/// Leaves room for a tag and a length in 32 bits.
constexpr uint32_t kLargestSum = UINT32_MAX - 5;

/// A text that one byte of length precedes.
uint64_t text_size(const Bytes& text) { return 1 + std::min<uint64_t>(text.size(), 255); }

} // namespace

// ---- sizes ---------------------------------------------------------------------------------------------------------

void DescriptorPrepareWrite::prepare(Descriptor& descriptor, uint64_t fields) {
  uint64_t size = fields + descriptor.rest.size();
  for (const auto& child : descriptor.children()) {
    child->accept(this);
    size += 1ull + child->lengthBytes() + child->size();
  }
  descriptor.setSize(static_cast<uint32_t>(std::min<uint64_t>(size, kLargestSum)));
}

void DescriptorPrepareWrite::visit(ElementaryStreamDescriptor* descriptor) {
  prepare(*descriptor, 3u + (descriptor->streamDependenceFlag ? 2u : 0u) +
                           (descriptor->urlFlag ? text_size(descriptor->url) : 0u) +
                           (descriptor->ocrStreamFlag ? 2u : 0u));
}

void DescriptorPrepareWrite::visit(DecoderConfigDescriptor* descriptor) { prepare(*descriptor, 13); }
void DescriptorPrepareWrite::visit(DecoderSpecificInfo* descriptor) { prepare(*descriptor, descriptor->info.size()); }
void DescriptorPrepareWrite::visit(SLConfigDescriptor* descriptor) { prepare(*descriptor, 1); }

void DescriptorPrepareWrite::visit(InitialObjectDescriptor* descriptor) {
  prepare(*descriptor, 2 + (descriptor->urlFlag ? text_size(descriptor->url) : descriptor->profileLevels.size()));
}

void DescriptorPrepareWrite::visit(UnknownDescriptor* descriptor) { prepare(*descriptor, descriptor->bytes.size()); }

// ---- writing -------------------------------------------------------------------------------------------------------

void DescriptorWriter::number(uint32_t value, unsigned count) {
  for (unsigned shift = 8 * count; shift != 0;) {
    shift -= 8;
    out_.put(static_cast<char>(value >> shift & 0xFF));
  }
  written_ += count;
}

void DescriptorWriter::bytes(const Bytes& bytes) {
  out_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  written_ += bytes.size();
}

void DescriptorWriter::text(const Bytes& text) {
  const auto size = static_cast<uint8_t>(std::min<size_t>(text.size(), 255));
  number(size, 1);
  bytes(Bytes(text.begin(), text.begin() + size));
}

void DescriptorWriter::header(const Descriptor& descriptor) {
  if (descriptor.size() > Descriptor::kMaxSize) out_.setstate(std::ios::failbit);
  number(descriptor.tag(), 1);
  for (uint32_t left = descriptor.lengthBytes(); left != 0;) {
    --left;
    number((descriptor.size() >> 7 * left & 0x7F) | (left != 0 ? 0x80 : 0), 1);
  }
}

void DescriptorWriter::rest(Descriptor& descriptor) {
  for (const auto& child : descriptor.children())
    child->accept(this);
  bytes(descriptor.rest);
}

void DescriptorWriter::visit(ElementaryStreamDescriptor* descriptor) {
  header(*descriptor);
  number(descriptor->esId, 2);
  number((descriptor->streamDependenceFlag ? 0x80u : 0u) | (descriptor->urlFlag ? 0x40u : 0u) |
             (descriptor->ocrStreamFlag ? 0x20u : 0u) | (descriptor->streamPriority & 0x1Fu),
         1);
  if (descriptor->streamDependenceFlag) number(descriptor->dependsOnEsId, 2);
  if (descriptor->urlFlag) text(descriptor->url);
  if (descriptor->ocrStreamFlag) number(descriptor->ocrEsId, 2);
  rest(*descriptor);
}

void DescriptorWriter::visit(DecoderConfigDescriptor* descriptor) {
  header(*descriptor);
  number(descriptor->objectType, 1);
  number((descriptor->streamType & 0x3Fu) << 2 | (descriptor->upStream ? 2u : 0u) | (descriptor->reserved ? 1u : 0u),
         1);
  number(descriptor->bufferSize, 3);
  number(descriptor->maximumBitRate, 4);
  number(descriptor->averageBitRate, 4);
  rest(*descriptor);
}

void DescriptorWriter::visit(DecoderSpecificInfo* descriptor) {
  header(*descriptor);
  bytes(descriptor->info);
  rest(*descriptor);
}

void DescriptorWriter::visit(SLConfigDescriptor* descriptor) {
  header(*descriptor);
  number(descriptor->predefined, 1);
  rest(*descriptor);
}

void DescriptorWriter::visit(InitialObjectDescriptor* descriptor) {
  header(*descriptor);
  number((descriptor->objectDescriptorId & 0x3FFu) << 6 | (descriptor->urlFlag ? 0x20u : 0u) |
             (descriptor->includeInlineProfileLevelFlag ? 0x10u : 0u) | (descriptor->reserved & 15u),
         2);
  if (descriptor->urlFlag)
    text(descriptor->url);
  else
    for (const uint8_t level : descriptor->profileLevels)
      number(level, 1);
  rest(*descriptor);
}

void DescriptorWriter::visit(UnknownDescriptor* descriptor) {
  header(*descriptor);
  bytes(descriptor->bytes);
  rest(*descriptor);
}

} // namespace esds
