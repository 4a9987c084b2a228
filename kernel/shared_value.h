// A small plain value that any thread may read or replace at any time.
//
// Readers take no lock: a version number that is odd during a write tells them to read again. The value is kept in
// atomic words, so that a read that meets a write is defined (and then thrown away). The odd number also keeps other
// writers out: writes are rare and short. No constructor runs at start-up and no destructor at the end, so a value can
// be used from other static objects.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace qv::kernel {

template <class Value>
class SharedValue {
  static_assert(std::is_trivially_copyable_v<Value> && sizeof(Value) % sizeof(uint64_t) == 0);
  static constexpr size_t kWords = sizeof(Value) / sizeof(uint64_t);
  using Words = std::array<uint64_t, kWords>;

public:
  constexpr explicit SharedValue(const Value& value)
      : SharedValue(std::bit_cast<Words>(value), std::make_index_sequence<kWords>{}) {}

  Value load() const {
    Words copy;
    uint32_t before = 0;
    uint32_t after = 0;
    do {
      before = version_.load(std::memory_order_acquire);
      for (size_t i = 0; i < kWords; ++i)
        copy[i] = words_[i].load(std::memory_order_acquire);
      after = version_.load(std::memory_order_relaxed);
    } while (before != after || (before & 1) != 0);
    return std::bit_cast<Value>(copy);
  }

  /// Replaces the value by what `change` makes of it. `change` must be short and must not throw.
  template <class Change>
  void update(Change&& change) {
    uint32_t version = version_.load(std::memory_order_relaxed);
    do {
      version &= ~uint32_t{1};
    } while (
        !version_.compare_exchange_weak(version, version + 1, std::memory_order_acquire, std::memory_order_relaxed));
    Words copy;
    for (size_t i = 0; i < kWords; ++i)
      copy[i] = words_[i].load(std::memory_order_relaxed);
    Value value = std::bit_cast<Value>(copy);
    change(value);
    copy = std::bit_cast<Words>(value);
    for (size_t i = 0; i < kWords; ++i)
      words_[i].store(copy[i], std::memory_order_release);
    version_.store(version + 2, std::memory_order_release);
  }

private:
  template <size_t... Index>
  constexpr SharedValue(const Words& words, std::index_sequence<Index...>) : words_{words[Index]...} {}

  std::atomic<uint32_t> version_{0};
  std::atomic<uint64_t> words_[kWords];
};

} // namespace qv::kernel
