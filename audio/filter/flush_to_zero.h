// Denormal numbers count as 0 while an instance of this lives, on the thread that made it. What a filter's state decays
// to would otherwise cost many times the time of other numbers.
#pragma once

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace qv::audio {

class FlushToZero {
public:
#if defined(__SSE2__)
  FlushToZero() : before_(_mm_getcsr()) { _mm_setcsr(before_ | kFlushResults | kDenormalsAreZero); }
  ~FlushToZero() { _mm_setcsr(before_); }
#else
  FlushToZero() = default;
#endif
  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;

#if defined(__SSE2__)
private:
  static constexpr unsigned kFlushResults = 0x8000;
  static constexpr unsigned kDenormalsAreZero = 0x0040;
  const unsigned before_;
#endif
};

} // namespace qv::audio
