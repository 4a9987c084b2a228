// An operation on a file, run with each of its file calls failing. Only the POSIX layer can be made to fail.
#pragma once

#include "platform/posix/seams.h"
#include "tests/riff/scratch_file.h"

#include <functional>
#include <gtest/gtest.h>

namespace riff_test {

struct FailingOperation {
  const char* name;
  int64_t from; ///< the position
  std::function<HRESULT(HANDLE)> run;
  bool restores_position;
  HRESULT other = QVERR_RIFF_READ; ///< what a failure may give besides QVERR_RIFF_READ and QVERR_RIFF_WRITE
};

inline void expect_each_failure_reported(const Bytes& bytes, const FailingOperation& operation) {
  SCOPED_TRACE(operation.name);
  using qv::platform::fail_io;
  constexpr int kNever = 1'000'000;
  int calls = 1;
  for (int nth = 0; nth <= calls; ++nth) {
    SCOPED_TRACE(nth);
    const ScratchFile file(bytes);
    file.move_to(operation.from);
    // First with a failure far off: how many calls there are to fail.
    fail_io(nth == 0 ? kNever : nth);
    const HRESULT result = operation.run(file);
    if (nth == 0) {
      calls = qv::platform::io_calls();
      fail_io(0);
      ASSERT_EQ(result, S_OK);
      ASSERT_GE(calls, 1);
      continue;
    }
    fail_io(0);
    EXPECT_TRUE(result == QVERR_RIFF_READ || result == QVERR_RIFF_WRITE || result == operation.other)
        << std::hex << result;
    EXPECT_LE(file.contents().size(), bytes.size());
    // The call that goes back to the position is the last; when that fails the position is lost.
    if (operation.restores_position && nth < calls) EXPECT_EQ(file.position(), operation.from);
  }
}

} // namespace riff_test
