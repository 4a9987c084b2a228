#include "tools/qv/mp4/adts_channels.h"

#include <initializer_list>
#include <utility>

namespace qv::tool {
namespace {

constexpr unsigned kProgramConfigId = 5;

/// Reads bits, most significant first, and keeps what it has read.
class BitCopier {
public:
  explicit BitCopier(const std::vector<char>& from) : from_(from) {}

  /// Zeros behind the end.
  unsigned skip(unsigned count) {
    unsigned value = 0;
    for (; count != 0; --count, ++at_)
      value = value << 1 | bit(at_);
    return value;
  }
  unsigned copy(unsigned count) {
    const unsigned value = skip(count);
    while (count != 0)
      put(value >> --count & 1);
    return value;
  }
  /// Both sides go on with a whole byte.
  void align() {
    at_ = (at_ + 7) / 8 * 8;
    written_bits_ = 8 * bytes.size();
  }
  bool is_past_end() const { return at_ > 8 * from_.size(); }

  std::vector<uint8_t> bytes;

private:
  unsigned bit(size_t at) const {
    return at / 8 < from_.size() ? static_cast<uint8_t>(from_[at / 8]) >> (7 - at % 8) & 1u : 0u;
  }
  void put(unsigned bit) {
    if (written_bits_ % 8 == 0) bytes.push_back(0);
    bytes.back() = static_cast<uint8_t>(bytes.back() | bit << (7 - written_bits_ % 8));
    ++written_bits_;
  }

  const std::vector<char>& from_;
  size_t at_ = 0;
  size_t written_bits_ = 0;
};

} // namespace

std::optional<ProgramConfig> read_program_config(const std::vector<char>& block) {
  BitCopier bits(block);
  if (bits.skip(3) != kProgramConfigId) return std::nullopt;
  bits.copy(4 + 2 + 4); // tag, object type, rate
  unsigned elements = 0;
  for (int place = 0; place < 3; ++place) // front, side, back
    elements += bits.copy(4);
  const unsigned low_frequency = bits.copy(2);
  const unsigned associated_data = bits.copy(3);
  const unsigned coupling = bits.copy(4);
  for (const unsigned mixdown_bits : {4, 4, 3}) // mono, stereo, matrix: where they are present
    if (bits.copy(1)) bits.copy(mixdown_bits);

  unsigned channels = low_frequency;
  for (unsigned k = 0; k < elements; ++k) {
    channels += bits.copy(1) + 1; // a pair, or one
    bits.copy(4);
  }
  bits.copy(4 * low_frequency);
  for (unsigned k = 0; k < associated_data; ++k)
    bits.copy(4);
  for (unsigned k = 0; k < coupling; ++k)
    bits.copy(5);
  bits.align();
  for (unsigned comment_bytes = bits.copy(8); comment_bytes != 0 && !bits.is_past_end(); --comment_bytes)
    bits.copy(8);
  if (bits.is_past_end() || channels == 0) return std::nullopt;
  return ProgramConfig{static_cast<uint16_t>(channels), std::move(bits.bytes)};
}

} // namespace qv::tool
