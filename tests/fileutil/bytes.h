// Bytes of a file, written by hand.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fileutil_test {

/// Pairs of hexadecimal digits, texts in quotes, and bytes that repeat: hex("03 'ID3' 12*00").
inline std::string hex(std::string_view text) {
  std::string bytes;
  for (size_t k = 0; k < text.size(); ++k)
    if (text[k] == '\'') {
      const size_t end = text.find('\'', k + 1);
      bytes += text.substr(k + 1, end - k - 1);
      k = end;
    } else if (const size_t star = text.substr(k, text.find(' ', k) - k).find('*'); star != std::string::npos) {
      const std::string count(text.substr(k, star));
      k += star + 2;
      bytes.append(std::stoul(count), static_cast<char>(std::stoi(std::string(text.substr(k - 1, 2)), nullptr, 16)));
    } else if (text[k] != ' ')
      bytes += static_cast<char>(std::stoi(std::string(text.substr(k++, 2)), nullptr, 16));
  return bytes;
}

inline std::vector<uint8_t> vector_of(std::string_view bytes) { return {bytes.begin(), bytes.end()}; }
inline std::string string_of(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

} // namespace fileutil_test
