// The unit of every position and duration.
#pragma once

#include "qv/win32.h"

/// A position or a duration: signed, in units of 100 ns. Milliseconds are it / 10,000, truncated toward zero.
typedef LONGLONG QVNANOTIME;

inline constexpr QVNANOTIME QVNANOTIME_SECOND = 10'000'000;
