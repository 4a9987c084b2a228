#include "fileutil/plan/byte_source.h"

#include "fileutil/plan/refusal.h"

#include <algorithm>

namespace fileutil {

uint64_t ByteSource::number(uint64_t position, unsigned width) const {
  std::array<uint8_t, 8> bytes{};
  const std::span wanted = std::span(bytes).first(width);
  read(position, wanted);
  return fromBigEndian(wanted);
}

FourCC ByteSource::code(uint64_t position) const {
  std::array<uint8_t, 4> bytes{};
  read(position, bytes);
  FourCC code = 0;
  std::memcpy(&code, bytes.data(), sizeof code);
  return code;
}

void StreamBytes::read(uint64_t position, std::span<uint8_t> into) const {
  if (position > length_ || into.size() > length_ - position) refuse(QVERR_RIFF_READ);
  in_.clear();
  in_.seekg(static_cast<std::streamoff>(position));
  in_.read(reinterpret_cast<char*>(into.data()), static_cast<std::streamsize>(into.size()));
  if (in_.fail()) refuse(QVERR_RIFF_READ);
}

PlannedBytes::PlannedBytes(const std::vector<Segment>& segments, const ByteSource& old)
    : segments_(segments), old_(old) {
  uint64_t end = 0;
  for (const Segment& segment : segments)
    ends_.push_back(end += segment.length);
}

void PlannedBytes::read(uint64_t position, std::span<uint8_t> into) const {
  if (position > length() || into.size() > length() - position) refuse(QVERR_RIFF_READ);
  auto index = static_cast<size_t>(std::upper_bound(ends_.begin(), ends_.end(), position) - ends_.begin());
  for (; !into.empty(); ++index) {
    const Segment& segment = segments_[index];
    const uint64_t offset = position - (ends_[index] - segment.length);
    const std::span part = into.first(static_cast<size_t>(std::min<uint64_t>(into.size(), segment.length - offset)));
    if (segment.bytes.empty())
      old_.read(segment.source + offset, part);
    else
      std::memcpy(part.data(), segment.bytes.data() + offset, part.size());
    position += part.size();
    into = into.subspan(part.size());
  }
}

} // namespace fileutil
