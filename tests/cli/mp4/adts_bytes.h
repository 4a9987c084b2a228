// ADTS streams for tests, put together bit by bit from ISO/IEC 14496-3, table 1.A.5.
#pragma once

#include <string>
#include <vector>

namespace cli_test {

struct AdtsFields {
  unsigned mpeg2 = 0;
  unsigned profile = 1;    // AAC LC
  unsigned rate_index = 4; // 44100 Hz
  unsigned channels = 2;
  bool check_sums = false;
};

using Blocks = std::vector<std::string>;

inline std::string big_endian(unsigned value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

/// One frame of one to four raw data blocks. Check sums are two bytes of no meaning.
inline std::string adts_frame(const Blocks& blocks, const AdtsFields& fields = {}) {
  std::string positions;
  std::string body;
  for (size_t k = 0; k < blocks.size(); ++k) {
    if (k != 0) positions += big_endian(static_cast<unsigned>(body.size()));
    body += blocks[k];
    if (fields.check_sums && blocks.size() > 1) body += "\x5A\xA5";
  }
  if (fields.check_sums) body = positions + "\x5A\xA5" + body;

  std::string bits;
  const auto put = [&](unsigned value, unsigned count) {
    while (count-- != 0)
      bits += static_cast<char>('0' + (value >> count & 1));
  };
  put(0xFFF, 12);
  put(fields.mpeg2, 1);
  put(0, 2); // layer
  put(fields.check_sums ? 0 : 1, 1);
  put(fields.profile, 2);
  put(fields.rate_index, 4);
  put(1, 1); // private
  put(fields.channels, 3);
  put(0, 4); // original, home, copyright
  put(static_cast<unsigned>(7 + body.size()), 13);
  put(0x7FF, 11); // buffer fullness: variable rate
  put(static_cast<unsigned>(blocks.size() - 1), 2);
  std::string header;
  for (size_t k = 0; k < bits.size(); k += 8)
    header += static_cast<char>(std::stoi(bits.substr(k, 8), nullptr, 2));
  return header + body;
}

/// An ID3v2.4 tag whose contents are those bytes; its size has seven bits a byte.
inline std::string id3_tag(const std::string& contents, bool footer = false) {
  const auto size = static_cast<unsigned>(contents.size());
  const std::string fields = {4,
                              0,
                              footer ? '\x10' : '\0',
                              0,
                              static_cast<char>(size >> 14 & 0x7F),
                              static_cast<char>(size >> 7 & 0x7F),
                              static_cast<char>(size & 0x7F)};
  return "ID3" + fields + contents + (footer ? "3DI" + fields : "");
}

} // namespace cli_test
