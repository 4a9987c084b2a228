// The payload of one box, read from its beginning on.
#pragma once

#include "fileutil/box/big_endian.h"

#include "qv/mp4/box_reader.h"

#include <algorithm>

namespace fileutil {

/// A code to be read in file order; other numbers are big-endian.
struct InFileOrder {
  FourCC& code;
};

/// Everything read is counted by BoxReader::incBytesRead's rule, and never more is read than the box has.
class Payload {
public:
  Payload(BoxReader& reader, IBox* box) : reader_(reader), box_(box) {}

  uint64_t remaining() const { return box_->size() > box_->bytesRead() ? box_->size() - box_->bytesRead() : 0; }

  /// Returns what was read.
  uint64_t read(void* to, uint64_t bytes) {
    const uint64_t got = reader_.fetch(to, std::min(bytes, remaining()));
    box_->bytesRead() += got;
    return got;
  }

  /// Numbers, arrays of numbers and codes, one behind the other. Those that the payload is too short for become 0.
  /// False then.
  template <class... Field>
  bool fields(Field&&... field) {
    uint8_t bytes[(kWidth<Field> + ...)] = {};
    const bool complete = read(bytes, sizeof bytes) == sizeof bytes;
    const uint8_t* at = bytes;
    (take(at, field), ...);
    return complete;
  }

  /// Version and fields of a header box. What does not go into them is kept as bytes: another version than 0, and a
  /// payload that is too short for them.
  template <class Box, class... Field>
  void header(Box* box, Field&... field) {
    fields(box->versionFlags);
    if (box->version() == 0 && remaining() >= (kWidth<Field> + ...))
      fields(field...);
    else
      rest(box->payload);
  }

  /// Entries that consist of big-endian words: as many as there is room for, of `count`. The table grows with what the
  /// source delivers, whatever the box claims to have.
  template <class Word, class Entry>
  void table(uint64_t count, std::vector<Entry>& entries) {
    constexpr uint64_t kFirstStep = 65536 / sizeof(Entry);
    count = std::min(count, remaining() / sizeof(Entry));
    uint64_t done = 0;
    for (uint64_t step = 0, got = 0; done < count && got == step; done += got) {
      step = std::min(count - done, std::max(done, kFirstStep));
      entries.resize(static_cast<size_t>(done + step));
      auto* const words = reinterpret_cast<Word*>(entries.data() + done);
      got = read(words, step * sizeof(Entry)) / sizeof(Entry);
      for (uint64_t k = 0; k < got * (sizeof(Entry) / sizeof(Word)); ++k)
        words[k] = bigEndian<Word>(words + k);
    }
    entries.resize(static_cast<size_t>(done));
  }
  /// As many as there is room for.
  template <class Word, class Entry>
  void table(std::vector<Entry>& entries) {
    table<Word>(remaining(), entries);
  }
  void bytes(uint64_t count, Bytes& to) { table<uint8_t>(count, to); }
  void rest(Bytes& to) { bytes(remaining(), to); }

  /// Calls read(stream, bytes consumed), which reads from the stream itself, no more than remains. Where it throws,
  /// nobody knows where the stream stands, and nothing more is read.
  template <class Read>
  auto parsed(Read read) -> decltype(read(std::declval<std::istream&>(), std::declval<uint64_t&>())) {
    if (reader_.hasEnded_) return {};
    std::istream& in = reader_.source_->in();
    uint64_t consumed = 0;
    try {
      auto result = read(in, consumed);
      reader_.incBytesRead(box_, consumed);
      return result;
    } catch (...) {
      reader_.hasEnded_ = true;
      return {};
    }
  }

private:
  template <class Field>
  static constexpr size_t kWidth = std::same_as<Field, InFileOrder> ? sizeof(FourCC)
                                                                    : sizeof(std::remove_reference_t<Field>);

  static void take(const uint8_t*& at, InFileOrder& field) {
    std::memcpy(&field.code, at, sizeof field.code);
    at += sizeof field.code;
  }
  template <std::unsigned_integral Number>
  static void take(const uint8_t*& at, Number& number) {
    number = bigEndian<Number>(at);
    at += sizeof number;
  }
  template <class Item, size_t kCount>
  static void take(const uint8_t*& at, std::array<Item, kCount>& items) {
    for (Item& item : items)
      take(at, item);
  }

  BoxReader& reader_;
  IBox* box_;
};

} // namespace fileutil
