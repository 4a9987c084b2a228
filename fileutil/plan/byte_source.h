// Bytes at positions: of a file, and of what a plan makes of it.
#pragma once

#include "fileutil/update/update_plan.h"
#include "fileutil/writer/field_bytes.h"

#include <istream>
#include <span>

namespace fileutil {

class QV_API ByteSource {
public:
  virtual ~ByteSource() = default;
  virtual uint64_t length() const = 0;
  /// All of them, or a Refusal.
  virtual void read(uint64_t position, std::span<uint8_t> into) const = 0;

  /// A big-endian number of 1 to 8 bytes; of none, 0.
  uint64_t number(uint64_t position, unsigned width) const;
  /// The four characters of a type, in file order.
  FourCC code(uint64_t position) const;
};

/// The number in up to 8 bytes, big-endian.
inline uint64_t fromBigEndian(std::span<const uint8_t> bytes) {
  uint64_t number = 0;
  for (const uint8_t byte : bytes)
    number = number << 8 | byte;
  return number;
}

/// A stream that can be sought, which stays the caller's.
class StreamBytes : public ByteSource {
public:
  StreamBytes(std::istream& in, uint64_t length) : in_(in), length_(length) {}
  uint64_t length() const override { return length_; }
  void read(uint64_t position, std::span<uint8_t> into) const override;

private:
  std::istream& in_;
  uint64_t length_;
};

/// The new file of a plan, without its being written. Plan and old file stay the caller's, and outlive it.
class PlannedBytes : public ByteSource {
public:
  PlannedBytes(const std::vector<Segment>& segments, const ByteSource& old);
  uint64_t length() const override { return ends_.empty() ? 0 : ends_.back(); }
  void read(uint64_t position, std::span<uint8_t> into) const override;

private:
  const std::vector<Segment>& segments_;
  const ByteSource& old_;
  std::vector<uint64_t> ends_; // of each segment, in the new file
};

} // namespace fileutil
