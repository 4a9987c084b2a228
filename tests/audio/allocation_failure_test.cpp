// What allocates returns null when memory is short.
#include "platform/posix/seams.h"
#include "tests/audio/headers.h"

#include <gtest/gtest.h>

TEST(AllocationFailure, AllocatedHeadersAreNull) {
  const Header header = plain_header(1, 48000, 16, 2);
  _qvwaveformat record;
  record.Init(sizeof record, header.plain());
  for (const auto mode : {QVWAVEFORMAT_COPY_AUTO, QVWAVEFORMAT_COPY_EXTENSIBLE}) {
    qv::platform::fail_allocation(1);
    EXPECT_EQ(QvAudio_AllocAndCopyWfx(&header.plain(), mode), nullptr);
    qv::platform::fail_allocation(1);
    EXPECT_EQ(QvAudio_AllocAndCopyWfx(&record, mode), nullptr);
  }
  qv::platform::fail_allocation(0);
}
