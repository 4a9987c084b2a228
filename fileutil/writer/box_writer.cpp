#include "qv/mp4/box_writer.h"

#include "fileutil/writer/field_bytes.h"

#include <algorithm>

namespace fileutil {

void append(Bytes& to, const Bytes& field) { to.insert(to.end(), field.begin(), field.end()); }

namespace {

constexpr uint64_t kHeader = 8;

/// What of a box is not its header, taken as one of 8 bytes.
uint64_t plannedPayload(const IBox* box) { return box->plannedSize() - std::min(box->plannedSize(), kHeader); }

} // namespace

BoxWriter::BoxWriter(std::fstream& out, Boxes* root, int64_t chunkOffsetShift)
    : out_(out), root_(root), chunkOffsetShift_(chunkOffsetShift) {}

BoxWriter::~BoxWriter() = default;

uint64_t BoxWriter::doIt() { return writeBoxes(root_); }

uint64_t BoxWriter::writeBoxes(Boxes* list) {
  uint64_t total = 0;
  for (IBox* box : *list) {
    bytesWritten_.push_back(writeBox(box));
    box->accept(this);
    total += bytesWritten_.back();
    bytesWritten_.pop_back();
  }
  return total;
}

uint64_t BoxWriter::writeBox(IBox* box) { return writeHeader(box->plannedSize(), box->type()); }

uint64_t BoxWriter::writeHeader(uint64_t size, FourCC type) { return WriteHeader(out_, size, type); }

uint64_t BoxWriter::WriteHeader(std::ostream& out, uint64_t size, FourCC type) {
  const bool isShort = size <= 0xFFFFFFFF;
  const Bytes header =
      isShort ? fieldBytes(static_cast<uint32_t>(size), Code(type)) : fieldBytes(uint32_t{1}, Code(type), size);
  out.write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
  return header.size();
}

void BoxWriter::addBytesWritten(uint64_t bytes) {
  if (!bytesWritten_.empty()) bytesWritten_.back() += bytes;
}

void BoxWriter::writeBytes(std::span<const uint8_t> bytes) {
  out_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  addBytesWritten(bytes.size());
}

void BoxWriter::writeZeros(uint64_t count) {
  static constexpr std::array<uint8_t, 4096> kZeros{};
  for (uint64_t left = count; left > 0 && out_.good(); left -= std::min<uint64_t>(left, kZeros.size()))
    out_.write(reinterpret_cast<const char*>(kZeros.data()),
               static_cast<std::streamsize>(std::min<uint64_t>(left, kZeros.size())));
  addBytesWritten(count);
}

void BoxWriter::visit(FreeBox* box) { writeZeros(plannedPayload(box)); }

void BoxWriter::visit(MediaDataBox* box) { visitSourcePayload(box); }
void BoxWriter::visit(UnknownGuidBox* box) { visitSourcePayload(box); }
void BoxWriter::visit(UnknownBox* box) { visitSourcePayload(box); }

void BoxWriter::visitSourcePayload(IBox* box) {
  const uint64_t payload = plannedPayload(box);
  out_.seekp(static_cast<std::streamoff>(payload), std::ios::cur);
  addBytesWritten(payload);
}

void BoxWriter::visitContainer(IContainerBox* box) { addBytesWritten(writeBoxes(&box->children())); }

// Read as nothing but bytes, and kept out of trees that are written.
void BoxWriter::visit(ContainerBox<QvFourCC("MTSM")>* /*box*/) {}
void BoxWriter::visit(PNGSampleEntryBox* /*box*/) {}

// ---- BoxCopy -------------------------------------------------------------------------------------------------------

BoxCopy::BoxCopy(std::fstream& out, std::istream& source, Boxes* root, int64_t chunkOffsetShift)
    : BoxWriter(out, root, chunkOffsetShift), in_(source) {}

BoxCopy::~BoxCopy() = default;

void BoxCopy::visitSourcePayload(IBox* box) {
  const uint64_t payload = plannedPayload(box);
  skipTo(box->position() + kHeader);
  const uint64_t copied = copyBytes(payload);
  cursor_ += copied;
  if (copied < payload) out().setstate(std::ios::failbit);
  addBytesWritten(copied);
}

void BoxCopy::skipTo(uint64_t position) {
  if (position < cursor_) {
    out().setstate(std::ios::failbit);
    return;
  }
  // A source that cannot seek is read.
  const uint64_t distance = position - cursor_;
  if (distance > 0 && !in_.seekg(static_cast<std::streamoff>(distance), std::ios::cur)) {
    in_.clear();
    in_.ignore(static_cast<std::streamsize>(distance));
  }
  cursor_ = position;
}

uint64_t BoxCopy::copyBytes(uint64_t count) {
  std::vector<char> block(std::min<uint64_t>(count, size_t{1} << 18));
  uint64_t copied = 0;
  while (copied < count && in_.good() && out().good()) {
    in_.read(block.data(), static_cast<std::streamsize>(std::min<uint64_t>(count - copied, block.size())));
    out().write(block.data(), in_.gcount());
    copied += static_cast<uint64_t>(in_.gcount());
  }
  return copied;
}

} // namespace fileutil
