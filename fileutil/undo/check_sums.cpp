#include "fileutil/undo/crc.h"

#include "qv/undo.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace qv::undo {

namespace {

constexpr size_t kSlices = 8;
using CrcTables = std::array<std::array<uint32_t, 256>, kSlices>;

/// Table k takes a byte that k more bytes follow: eight look-ups that do not wait for each other take eight bytes.
constexpr CrcTables kCrcTables = [] {
  CrcTables tables = {};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t rest = byte;
    for (int bit = 0; bit < 8; ++bit)
      rest = (rest & 1) ? rest >> 1 ^ 0xEDB88320 : rest >> 1;
    tables[0][byte] = rest;
  }
  for (size_t k = 1; k < kSlices; ++k)
    for (size_t byte = 0; byte < 256; ++byte)
      tables[k][byte] = tables[k - 1][byte] >> 8 ^ tables[0][tables[k - 1][byte] & 0xFF];
  return tables;
}();

/// Little-endian, as the sums and all numbers of an undo file are.
template <class Number>
Number number_at(const void* bytes) {
  Number value;
  std::memcpy(&value, bytes, sizeof value);
  static_assert(std::endian::native == std::endian::little);
  return value;
}

uint32_t add_to_crc(uint32_t crc, std::string_view bytes) {
  for (; bytes.size() >= kSlices; bytes.remove_prefix(kSlices)) {
    const uint64_t word = number_at<uint64_t>(bytes.data()) ^ crc;
    crc = 0;
    for (size_t k = 0; k < kSlices; ++k)
      crc ^= kCrcTables[kSlices - 1 - k][word >> (8 * k) & 0xFF];
  }
  for (const char byte : bytes)
    crc = crc >> 8 ^ kCrcTables[0][(crc ^ static_cast<unsigned char>(byte)) & 0xFF];
  return crc;
}

// The primes of XXH64.
constexpr uint64_t kPrime1 = 0x9E3779B185EBCA87;
constexpr uint64_t kPrime2 = 0xC2B2AE3D27D4EB4F;
constexpr uint64_t kPrime3 = 0x165667B19E3779F9;
constexpr uint64_t kPrime4 = 0x85EBCA77C2B2AE63;
constexpr uint64_t kPrime5 = 0x27D4EB2F165667C5;

constexpr size_t kStripeBytes = 32;

constexpr uint64_t round_of(uint64_t lane, uint64_t word) { return std::rotl(lane + word * kPrime2, 31) * kPrime1; }

uint64_t with_rest(uint64_t sum, const unsigned char* at, size_t count) {
  for (; count >= 8; at += 8, count -= 8)
    sum = std::rotl(sum ^ round_of(0, number_at<uint64_t>(at)), 27) * kPrime1 + kPrime4;
  if (count >= 4) {
    sum = std::rotl(sum ^ number_at<uint32_t>(at) * kPrime1, 23) * kPrime2 + kPrime3;
    at += 4;
    count -= 4;
  }
  for (; count > 0; ++at, --count)
    sum = std::rotl(sum ^ *at * kPrime5, 11) * kPrime1;
  return sum;
}

} // namespace

uint32_t crc_of(std::string_view first, std::string_view second) {
  return ~add_to_crc(add_to_crc(~uint32_t{0}, first), second);
}

void CheckSum::add_stripes(const unsigned char* bytes, size_t stripes) {
  uint64_t lanes[4];
  std::copy_n(lanes_, 4, lanes);
  for (; stripes > 0; --stripes, bytes += kStripeBytes)
    for (int k = 0; k < 4; ++k)
      lanes[k] = round_of(lanes[k], number_at<uint64_t>(bytes + 8 * k));
  std::copy_n(lanes, 4, lanes_);
}

void CheckSum::add(const void* bytes, size_t count) {
  const auto* at = static_cast<const unsigned char*>(bytes);
  const size_t held = total_ % kStripeBytes;
  total_ += count;
  if (held > 0) {
    const size_t taken = std::min(count, kStripeBytes - held);
    std::memcpy(held_ + held, at, taken);
    if (held + taken < kStripeBytes) return;
    add_stripes(held_, 1);
    at += taken;
    count -= taken;
  }
  add_stripes(at, count / kStripeBytes);
  std::copy_n(at + count / kStripeBytes * kStripeBytes, count % kStripeBytes, held_);
}

uint64_t CheckSum::value() const {
  uint64_t sum = lanes_[2] + kPrime5;
  if (total_ >= kStripeBytes) {
    sum = std::rotl(lanes_[0], 1) + std::rotl(lanes_[1], 7) + std::rotl(lanes_[2], 12) + std::rotl(lanes_[3], 18);
    for (const uint64_t lane : lanes_)
      sum = (sum ^ round_of(0, lane)) * kPrime1 + kPrime4;
  }
  sum = with_rest(sum + total_, held_, total_ % kStripeBytes);
  sum = (sum ^ sum >> 33) * kPrime2;
  sum = (sum ^ sum >> 29) * kPrime3;
  return sum ^ sum >> 32;
}

} // namespace qv::undo
