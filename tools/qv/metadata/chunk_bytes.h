// Numbers and texts within the data of a chunk: little-endian in RIFF and Wave64, big-endian in AIFF.
#pragma once

#include "qv/win32.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace qv::tool {

struct AudioFile;
struct ChunkEntry;

enum class ByteOrder { kLittle, kBig };

/// Of the numbers in a file's chunks: big-endian in AIFF and RIFX.
ByteOrder byte_order_of(const AudioFile& audio);

/// The data of a chunk, up to `limit` bytes of what the file has of it; none where it cannot be read.
std::string chunk_data(const AudioFile& audio, const ChunkEntry& chunk, uint64_t limit);

/// A word at a place that is there.
template <class Word>
Word word_at(std::string_view data, size_t at, ByteOrder order = ByteOrder::kLittle) {
  Word value = 0;
  for (size_t k = 0; k < sizeof(Word); ++k) {
    const size_t byte = order == ByteOrder::kLittle ? sizeof(Word) - 1 - k : k;
    value = static_cast<Word>(value << 8 | static_cast<BYTE>(data[at + byte]));
  }
  return value;
}

template <class Word>
void put_word_at(std::string& data, size_t at, Word value, ByteOrder order = ByteOrder::kLittle) {
  for (size_t k = 0; k < sizeof(Word); ++k) {
    const size_t byte = order == ByteOrder::kLittle ? k : sizeof(Word) - 1 - k;
    data[at + byte] = static_cast<char>(value >> 8 * k & 0xFF);
  }
}

/// Reads from the front on. What is not there reads as zeros, and is_short() says so from then on.
class ChunkBytes {
public:
  ChunkBytes(std::string_view data, ByteOrder order) : data_(data), order_(order) {}

  template <class Word>
  Word word() {
    const std::string_view bytes = take(sizeof(Word));
    return bytes.size() == sizeof(Word) ? word_at<Word>(bytes, 0, order_) : Word{0};
  }
  BYTE byte() { return word<BYTE>(); }
  /// The next bytes; fewer, down to none, where they end.
  std::string_view take(size_t count) {
    is_short_ |= count > data_.size();
    const std::string_view taken = data_.substr(0, std::min(count, data_.size()));
    data_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view rest() const { return data_; }
  bool is_short() const { return is_short_; }

private:
  std::string_view data_;
  ByteOrder order_;
  bool is_short_ = false;
};

} // namespace qv::tool
