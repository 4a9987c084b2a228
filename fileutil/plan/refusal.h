// Why an update is not planned.
#pragma once

#include "qv/result.h"

namespace fileutil {

/// Thrown inside planning and caught at its entrance: the result that its caller gets.
struct Refusal {
  HRESULT result;
};

[[noreturn]] inline void refuse(HRESULT result) { throw Refusal{result}; }

} // namespace fileutil
