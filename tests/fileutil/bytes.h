// Bytes of a file, written by hand.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fileutil_test {

/// Pairs of hexadecimal digits, and texts in quotes: hex("03 'ID3' 00").
inline std::string hex(std::string_view text) {
  std::string bytes;
  for (size_t k = 0; k < text.size(); ++k)
    if (text[k] == '\'') {
      const size_t end = text.find('\'', k + 1);
      bytes += text.substr(k + 1, end - k - 1);
      k = end;
    } else if (text[k] != ' ')
      bytes += static_cast<char>(std::stoi(std::string(text.substr(k++, 2)), nullptr, 16));
  return bytes;
}

inline std::vector<uint8_t> vector_of(std::string_view bytes) { return {bytes.begin(), bytes.end()}; }
inline std::string string_of(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

} // namespace fileutil_test
