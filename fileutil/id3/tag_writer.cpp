#include "fileutil/id3/sync_safe.h"

#include "qv/mp4/id3.h"

namespace id3meta {

uint32_t Header::frameSize(const std::array<uint8_t, 4>& field) const { return size_value(field, 8); }
std::array<uint8_t, 4> Header::frameSizeField(uint32_t value) const { return size_field(value, 8); }
uint32_t Header_2_4_0::frameSize(const std::array<uint8_t, 4>& field) const { return size_value(field, 7); }
std::array<uint8_t, 4> Header_2_4_0::frameSizeField(uint32_t value) const { return size_field(value, 7); }

namespace {

template <class Container>
uint64_t write_bytes(std::ostream& out, const Container& bytes) {
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return bytes.size();
}

uint64_t write_frame(std::ostream& out, const Header& tag, const Frame& frame) {
  const auto size = static_cast<uint32_t>(frame.size());
  const SizeField field = tag.frameSizeField(size);
  if (size != frame.size() || tag.frameSize(field) != size) out.setstate(std::ios::failbit);
  out.write(reinterpret_cast<const char*>(&frame.id), sizeof frame.id);
  write_bytes(out, field);
  out.put(static_cast<char>(frame.flags >> 8)).put(static_cast<char>(frame.flags & 0xFF));
  return 10 + write_bytes(out, frame.bytes);
}

} // namespace

uint64_t frameBytes(const Header& header) {
  uint64_t bytes = 0;
  for (const auto& frame : header.frames)
    bytes += 10 + frame->size();
  return bytes;
}

uint64_t writeTag(std::ostream& out, const Header& header) {
  if (header.size > Header::kMaxSize) out.setstate(std::ios::failbit);
  const std::array<uint8_t, 6> start = {'I', 'D', '3', header.version.major, header.version.minor, header.flags};
  uint64_t written = write_bytes(out, start);
  written += write_bytes(out, size_field(header.size, 7));
  for (const auto& frame : header.frames)
    written += write_frame(out, header, *frame);
  return written;
}

} // namespace id3meta
