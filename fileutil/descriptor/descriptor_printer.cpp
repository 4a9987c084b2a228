#include "qv/mp4/descriptor_visitors.h"

namespace esds {

void DescriptorPrinter::line(const char* name) { out_ << std::string(indent_, ' ') << name; }

void DescriptorPrinter::begin(const char* name, const Descriptor& descriptor) {
  line(name);
  out_ << " (tag " << static_cast<unsigned>(descriptor.tag()) << ", " << descriptor.size() << " bytes"
       << (descriptor.isComplete ? ")\n" : ", incomplete)\n");
  indent_ += 2;
}

void DescriptorPrinter::field(const char* name, uint64_t value) {
  line(name);
  out_ << ": " << value << '\n';
}

void DescriptorPrinter::bytes(const char* name, const Bytes& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  line(name);
  out_ << ':';
  for (const uint8_t byte : bytes)
    out_ << ' ' << kDigits[byte >> 4] << kDigits[byte & 15];
  out_ << '\n';
}

void DescriptorPrinter::end() { indent_ -= 2; }

void DescriptorPrinter::finish(Descriptor& descriptor) {
  for (const auto& child : descriptor.children())
    child->accept(this);
  if (!descriptor.rest.empty()) bytes("rest", descriptor.rest);
  end();
}

void DescriptorPrinter::visit(ElementaryStreamDescriptor* descriptor) {
  begin("ES_Descriptor", *descriptor);
  field("ES_ID", descriptor->esId);
  field("streamPriority", descriptor->streamPriority);
  if (descriptor->streamDependenceFlag) field("dependsOn_ES_ID", descriptor->dependsOnEsId);
  if (descriptor->urlFlag) bytes("URLstring", descriptor->url);
  if (descriptor->ocrStreamFlag) field("OCR_ES_Id", descriptor->ocrEsId);
  finish(*descriptor);
}

void DescriptorPrinter::visit(DecoderConfigDescriptor* descriptor) {
  begin("DecoderConfigDescriptor", *descriptor);
  field("objectTypeIndication", descriptor->objectType);
  field("streamType", descriptor->streamType);
  field("upStream", descriptor->upStream);
  field("bufferSizeDB", descriptor->bufferSize);
  field("maxBitrate", descriptor->maximumBitRate);
  field("avgBitrate", descriptor->averageBitRate);
  finish(*descriptor);
}

void DescriptorPrinter::visit(DecoderSpecificInfo* descriptor) {
  begin("DecoderSpecificInfo", *descriptor);
  if (!descriptor->info.empty()) bytes("info", descriptor->info);
  finish(*descriptor);
}

void DescriptorPrinter::visit(SLConfigDescriptor* descriptor) {
  begin("SLConfigDescriptor", *descriptor);
  field("predefined", descriptor->predefined);
  finish(*descriptor);
}

void DescriptorPrinter::visit(InitialObjectDescriptor* descriptor) {
  static constexpr const char* kLevels[] = {"ODProfileLevelIndication", "sceneProfileLevelIndication",
                                            "audioProfileLevelIndication", "visualProfileLevelIndication",
                                            "graphicsProfileLevelIndication"};
  begin("InitialObjectDescriptor", *descriptor);
  field("ObjectDescriptorID", descriptor->objectDescriptorId);
  field("includeInlineProfileLevelFlag", descriptor->includeInlineProfileLevelFlag);
  if (descriptor->urlFlag)
    bytes("URLstring", descriptor->url);
  else
    for (size_t k = 0; k < descriptor->profileLevels.size(); ++k)
      field(kLevels[k], descriptor->profileLevels[k]);
  finish(*descriptor);
}

void DescriptorPrinter::visit(UnknownDescriptor* descriptor) {
  begin("descriptor", *descriptor);
  if (!descriptor->bytes.empty()) bytes("bytes", descriptor->bytes);
  finish(*descriptor);
}

} // namespace esds
