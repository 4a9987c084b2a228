// The arguments of a formatted text, taken one by one: those of a call, or numbers that stand in an array.
#pragma once

#include "kernel/text/printf_conversion.h"

#include <cstdarg>
#include <cstdint>
#include <span>

namespace qv::kernel {

/// An argument of a known type.
struct Number {
  bool is_double = false;
  int64_t integer = 0;
  double real = 0.0;

  static Number of(int64_t value) { return {false, value, 0.0}; }
  static Number of(double value) { return {true, 0, value}; }
};

class Arguments {
public:
  /// Holds a list of its own, so that it can be handed on by reference on every system (a va_list is an array on some).
  explicit Arguments(va_list list) { va_copy(list_, list); }
  /// Takes the arguments from numbers. A conversion of another type gets its number converted, and one that finds none
  /// left gets 0 or null: the format need not be trusted.
  explicit Arguments(std::span<const Number> numbers) : has_numbers_(true), numbers_(numbers) {}
  ~Arguments() {
    if (!has_numbers_) va_end(list_);
  }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  int next_int() { return has_numbers_ ? static_cast<int>(next_integer()) : va_arg(list_, int); }
  int64_t next_int64() { return has_numbers_ ? next_integer() : va_arg(list_, long long); }
  double next_double() { return has_numbers_ ? next_real() : va_arg(list_, double); }
  const void* next_pointer() {
    if (!has_numbers_) return va_arg(list_, const void*);
    next_number();
    return nullptr;
  }

  int64_t next_signed(ArgumentSize size) {
    switch (size) {
    case ArgumentSize::kChar: return static_cast<signed char>(next_int());
    case ArgumentSize::kShort: return static_cast<int16_t>(next_int());
    case ArgumentSize::k64:
    case ArgumentSize::kPointer: return next_int64();
    default: return next_int();
    }
  }

  uint64_t next_unsigned(ArgumentSize size) {
    switch (size) {
    case ArgumentSize::kChar: return static_cast<uint8_t>(next_int());
    case ArgumentSize::kShort: return static_cast<uint16_t>(next_int());
    case ArgumentSize::k64:
    case ArgumentSize::kPointer: return static_cast<uint64_t>(next_int64());
    default: return static_cast<uint32_t>(next_int());
    }
  }

private:
  Number next_number() {
    if (numbers_.empty()) return {};
    const Number number = numbers_.front();
    numbers_ = numbers_.subspan(1);
    return number;
  }
  int64_t next_integer();
  double next_real() {
    const Number number = next_number();
    return number.is_double ? number.real : static_cast<double>(number.integer);
  }

  bool has_numbers_ = false;
  std::span<const Number> numbers_;
  va_list list_;
};

static_assert(sizeof(void*) == sizeof(long long));

} // namespace qv::kernel
