#include "tools/qv/mp4/adts.h"

namespace qv::tool {
namespace {

constexpr uint32_t kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};
constexpr uint8_t kChannels[] = {0, 1, 2, 3, 4, 5, 6, 8};

} // namespace

uint32_t AdtsFormat::sample_rate() const { return kRates[rate_index]; }
uint16_t AdtsFormat::channels() const { return kChannels[channel_configuration]; }

std::vector<uint8_t> AdtsFormat::audio_specific_config() const {
  // Object type in 5 bits, rate in 4, channels in 4; then three zeros: frames of 1024, no core coder, no extension.
  const unsigned bits = object_type << 11 | rate_index << 7 | channel_configuration << 3;
  return {static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits & 0xFF)};
}

uint32_t AdtsHeader::header_bytes() const {
  // With check sums: the positions of all blocks but the first, and the header's own.
  return static_cast<uint32_t>(kBytes) + (has_check_sums ? 2 * blocks : 0);
}

std::optional<AdtsHeader> read_adts_header(const uint8_t* bytes) {
  // Twelve bits of ones; MPEG-4 or 2; two bits of layer, which are 0; whether check sums are absent.
  if (bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0) return std::nullopt;
  AdtsHeader header;
  header.has_check_sums = (bytes[1] & 1) == 0;
  header.format.object_type = static_cast<uint8_t>((bytes[2] >> 6) + 1);
  header.format.rate_index = bytes[2] >> 2 & 15;
  header.format.channel_configuration = static_cast<uint8_t>((bytes[2] & 1) << 2 | bytes[3] >> 6);
  header.frame_bytes = (bytes[3] & 3u) << 11 | bytes[4] << 3 | bytes[5] >> 5;
  header.blocks = (bytes[6] & 3u) + 1;
  if (header.format.rate_index >= std::size(kRates)) return std::nullopt;
  if (header.frame_bytes < header.header_bytes()) return std::nullopt;
  return header;
}

} // namespace qv::tool
