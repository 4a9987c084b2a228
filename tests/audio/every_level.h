// The one way in which a test runs on every kernel level.
#pragma once

#include "qv/cpu.h"

#include <gtest/gtest.h>

/// Runs a body on each kernel level that the machine has, the narrowest first, until one fails.
template <class Body>
void on_every_level(Body body) {
  const QVKERNELLEVEL widest = QvGetKernelLevel();
  for (uint32_t level = 0; level <= widest && !testing::Test::HasFatalFailure(); ++level) {
    SCOPED_TRACE(testing::Message() << "level " << level);
    QvLimitKernelLevel(static_cast<QVKERNELLEVEL>(level));
    body(static_cast<QVKERNELLEVEL>(level));
  }
  QvLimitKernelLevel(widest);
}
