#include "qv/mp4/descriptor.h"

#include "qv/mp4/descriptor_visitors.h"

#include <algorithm>

namespace esds {

OutOfBytes::OutOfBytes() : std::runtime_error("a descriptor claims more bytes than remain") {}

uint32_t Descriptor::lengthBytes() const {
  uint32_t needed = 1;
  for (uint32_t size = size_ >> 7; size != 0 && needed < 4; size >>= 7)
    ++needed;
  return std::max(needed, std::min<uint32_t>(lengthBytes_, 4));
}

void ElementaryStreamDescriptor::init(const StreamParameters& parameters, const Bytes& decoderSpecificInfo) {
  esId = parameters.esId;
  streamDependenceFlag = urlFlag = ocrStreamFlag = false;
  streamPriority = 0;
  rest.clear();
  children().clear();

  auto config = std::make_unique<DecoderConfigDescriptor>();
  config->objectType = parameters.objectType;
  config->streamType = parameters.streamType;
  config->bufferSize = parameters.bufferSize;
  config->maximumBitRate = parameters.maximumBitRate;
  config->averageBitRate = parameters.averageBitRate;
  if (!decoderSpecificInfo.empty()) {
    auto info = std::make_unique<DecoderSpecificInfo>();
    info->info = decoderSpecificInfo;
    config->children().push_back(std::move(info));
  }
  children().push_back(std::move(config));
  children().push_back(std::make_unique<SLConfigDescriptor>());
  prepareDescriptor(this);
}

std::unique_ptr<Descriptor> readDescriptor(std::istream& in, uint32_t limit, uint64_t& consumed) {
  DescriptorReader reader(in, limit);
  Descriptor::Children found;
  try {
    reader.read(found);
  } catch (const OutOfBytes&) {
    // What was read is in the list, and knows that it is not complete.
  }
  consumed = reader.consumed();
  return found.empty() ? nullptr : std::move(found.front());
}

uint32_t prepareDescriptor(Descriptor* descriptor) {
  if (!descriptor) return 0;
  DescriptorPrepareWrite prepare;
  descriptor->accept(&prepare);
  return descriptor->sizeWithTagAndLength();
}

uint64_t writeDescriptor(std::ostream& out, Descriptor* descriptor) {
  if (!descriptor) return 0;
  DescriptorWriter writer(out);
  descriptor->accept(&writer);
  return writer.bytesWritten();
}

} // namespace esds
