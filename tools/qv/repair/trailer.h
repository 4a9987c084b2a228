// What other programs put behind the chunks of a file.
#pragma once

#include <algorithm>
#include <iterator>
#include <string>

namespace qv::tool {

/// How many bytes it can be told from.
inline constexpr size_t kTrailerBytes = 16;

inline bool is_known_trailer(const std::string& bytes) {
  constexpr const char* kTrailers[] = {"TAG", "APETAGEX", "LYRICSBEGIN", "ID3"};
  return std::any_of(std::begin(kTrailers), std::end(kTrailers),
                     [&](const std::string& start) { return bytes.compare(0, start.size(), start) == 0; });
}

} // namespace qv::tool
