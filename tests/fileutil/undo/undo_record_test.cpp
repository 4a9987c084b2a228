// The bytes of undo files: as they are laid out, read again, and told from what is none.
#include "qv/undo.h"

#include <gtest/gtest.h>

using namespace qv::undo;

namespace {

std::string zeros(size_t count) { return std::string(count, '\0'); }

Record of_change(State state) { return {state, {35, 37, {{4, "size", "SIZE"}, {30, "audio", "more au"}}}, 0, 0}; }

Record of_copy(State state) { return {state, {0x123456789, 0x20, {}}, 0x0123456789ABCDEF, 0xFEDCBA9876543210}; }

TEST(UndoRecord, ACopyIsNamedByTokenLengthAndSum) {
  // The check sums are those of Python's zlib.
  const std::string bytes = "qv undo" + zeros(1) + "\2" + zeros(3) + "\5" + zeros(3) +
                            std::string("\x89\x67\x45\x23\1\0\0\0", 8) + "\x20" + zeros(11) + "\xD4\xC6\x8F\x01" +
                            "\xEF\xCD\xAB\x89\x67\x45\x23\x01" + "\x10\x32\x54\x76\x98\xBA\xDC\xFE" +
                            std::string("\x32\xE2\x5D\0", 4);
  EXPECT_EQ(to_bytes(of_copy(State::kCopying)), bytes);
  std::string preparing = bytes.substr(0, kCopySumAt);
  preparing[kStateAt] = 4;
  EXPECT_EQ(to_bytes(of_copy(State::kPreparing)), preparing);
  EXPECT_EQ(preparing + copy_sum_bytes(0xFEDCBA9876543210), std::string(bytes).replace(kStateAt, 1, "\4"));
}

TEST(UndoRecord, IsReadAsItWasWritten) {
  for (const Record& record : {of_change(State::kBegun), of_change(State::kDone), of_change(State::kPassing),
                               of_copy(State::kPreparing), of_copy(State::kCopying)}) {
    Record read;
    const std::string bytes = to_bytes(record);
    ASSERT_EQ(read_record(bytes, read), Trouble::kNone);
    EXPECT_EQ(to_bytes(read), bytes);
    EXPECT_EQ(read.state, record.state);
    EXPECT_EQ(read.copy_sum, record.state == State::kCopying ? record.copy_sum : 0);
    EXPECT_EQ(size_in_bytes(of_change(State::kBegun).change), to_bytes(of_change(State::kBegun)).size());
  }
}

TEST(UndoRecord, EachChangedOrMissingByteIsTrouble) {
  for (const Record& record : {of_change(State::kPassing), of_copy(State::kCopying)}) {
    const std::string bytes = to_bytes(record);
    Record read;
    for (size_t at = 0; at < bytes.size(); ++at) {
      SCOPED_TRACE(at);
      EXPECT_NE(read_record(std::string(bytes).replace(at, 1, 1, static_cast<char>(bytes[at] ^ 0x18)), read),
                Trouble::kNone);
      const bool is_unbegun = read_record(bytes.substr(0, at), read) == Trouble::kNone;
      EXPECT_EQ(is_unbegun, at < kStateAt + 4);
      if (is_unbegun) EXPECT_EQ(read.state, State::kUnbegun);
    }
    EXPECT_EQ(read_record(bytes + "x", read), Trouble::kDamaged);
    const auto with_state = [&](char state) { return std::string(bytes).replace(kStateAt, 1, 1, state); };
    EXPECT_EQ(read_record(with_state(6), read), Trouble::kDamaged);
    EXPECT_EQ(read_record(with_state(record.is_of_update() ? 3 : 4), read), Trouble::kDamaged);
    EXPECT_EQ(read_record(with_state(0), read), Trouble::kNone) << "its writer was killed";
    EXPECT_EQ(read.state, State::kUnbegun);
    EXPECT_EQ(read_record(std::string(bytes).replace(8, 1, "\3"), read), Trouble::kOtherVersion);
  }
  Record read;
  EXPECT_EQ(read_record(zeros(100), read), Trouble::kNoRecord);
  EXPECT_EQ(read_record("a text", read), Trouble::kNoRecord);
}

TEST(UndoRecord, WhatIsLeftOfASumWhileACopyIsPreparedDoesNotCount) {
  const std::string bytes = to_bytes(of_copy(State::kPreparing)) + copy_sum_bytes(1);
  Record read;
  for (size_t length = kCopySumAt; length <= bytes.size(); ++length)
    EXPECT_EQ(read_record(bytes.substr(0, length), read), Trouble::kNone) << length;
  EXPECT_EQ(read_record(bytes + "x", read), Trouble::kDamaged);
}

TEST(CheckSum, IsXxh64HoweverItsBytesCome) {
  std::string ramp;
  for (int k = 0; k < 1024; ++k)
    ramp += static_cast<char>(k);
  // As xxhsum 0.8 prints them.
  const std::pair<std::string, uint64_t> rows[] = {
      {"", 0xEF46DB3751D8E999},
      {"a", 0xD24EC4F1A98C6E5B},
      {"abc", 0x44BC2CF5AD770999},
      {"0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ", 0x7639D419DE614EED},
      {ramp + "xyz", 0xE146CB31B65BC21A},
  };
  for (const auto& [bytes, sum] : rows)
    for (size_t first = 0; first <= bytes.size(); ++first) {
      CheckSum pieces;
      pieces.add(bytes.data(), first);
      pieces.add(bytes.data() + first, (bytes.size() - first) / 2);
      pieces.add(bytes.data() + first + (bytes.size() - first) / 2, (bytes.size() - first + 1) / 2);
      ASSERT_EQ(pieces.value(), sum) << bytes << " at " << first;
    }
}

} // namespace
