// The arguments of a formatted text, taken one by one. Holds a list of its own, so that it can be handed on by
// reference on every system (a va_list is an array on some of them).
#pragma once

#include "kernel/printf_conversion.h"

#include <cstdarg>
#include <cstdint>

namespace qv::kernel {

class Arguments {
public:
  explicit Arguments(va_list list) { va_copy(list_, list); }
  ~Arguments() { va_end(list_); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  int next_int() { return va_arg(list_, int); }
  int64_t next_int64() { return va_arg(list_, long long); }
  double next_double() { return va_arg(list_, double); }
  const void* next_pointer() { return va_arg(list_, const void*); }

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
  va_list list_;
};

static_assert(sizeof(void*) == sizeof(long long));

} // namespace qv::kernel
