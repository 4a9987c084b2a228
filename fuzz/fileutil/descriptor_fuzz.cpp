// Any bytes as a descriptor, or behind "ID3" as a tag: reading stays inside them, what is complete is written as it
// was, and what is written is complete. Sources: fileutil/descriptor fileutil/id3
#include "fuzz/require.h"

#include "qv/mp4/descriptor_visitors.h"
#include "qv/mp4/id3.h"

#include <sstream>

using namespace fuzz;

namespace {

std::string written(esds::Descriptor& descriptor) {
  std::ostringstream out;
  require(esds::prepareDescriptor(&descriptor) == esds::writeDescriptor(out, &descriptor) && out);
  return out.str();
}

void read_as_descriptor(const std::string& bytes) {
  std::istringstream in(bytes);
  uint64_t consumed = 0;
  const auto descriptor = esds::readDescriptor(in, static_cast<uint32_t>(bytes.size()), consumed);
  require(consumed <= bytes.size());
  if (!descriptor) return;
  std::ostringstream lines;
  esds::DescriptorPrinter printer(lines);
  descriptor->accept(&printer);
  const std::string first = written(*descriptor);
  require(!descriptor->isComplete || first == bytes.substr(0, consumed));
  std::istringstream again(first);
  const auto second = esds::readDescriptor(again, static_cast<uint32_t>(first.size()), consumed);
  require(second && second->isComplete && consumed == first.size() && written(*second) == first);
}

std::string written(id3meta::Header& tag) {
  std::ostringstream out;
  tag.size = static_cast<uint32_t>(id3meta::frameBytes(tag));
  require(id3meta::writeTag(out, tag) == 10 + id3meta::frameBytes(tag) && out);
  return out.str();
}

void read_as_tag(const std::string& bytes) {
  std::istringstream in(bytes);
  uint64_t consumed = 0;
  const auto tag = id3meta::readTag(in, bytes.size() + 3, consumed);
  require(consumed <= bytes.size());
  if (!tag) return;
  const std::string first = written(*tag);
  require(!tag->isLossless || first == "ID3" + bytes);
  std::istringstream again(first.substr(3));
  const auto second = id3meta::readTag(again, first.size(), consumed);
  require(second && second->frames.size() == tag->frames.size() && written(*second) == first);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  data[0] % 2 == 0 ? read_as_descriptor(bytes) : read_as_tag(bytes);
  return 0;
}
