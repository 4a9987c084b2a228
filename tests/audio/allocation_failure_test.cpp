// What allocates answers null when memory is short.
#include "platform/posix/seams.h"

#include "qv/audio.h"

#include <gtest/gtest.h>

TEST(AllocationFailure, AllocatedHeadersAreNull) {
  _qvwaveformat record;
  record.Init(48000, QVSAMPLE_PCM16, 2, 0, sizeof record);
  WAVEFORMATEX header;
  record.ToWfx(&header, sizeof header, QVWAVEFORMAT_COPY_PLAIN);
  const auto with_failure = [](auto allocate) {
    qv::platform::fail_allocation(1);
    WAVEFORMATEX* const copy = allocate();
    qv::platform::fail_allocation(0);
    return copy;
  };
  EXPECT_EQ(with_failure([&] { return QvAudio_AllocAndCopyWfx(&header, QVWAVEFORMAT_COPY_AUTO); }), nullptr);
  EXPECT_EQ(with_failure([&] { return QvAudio_AllocAndCopyWfx(&header, QVWAVEFORMAT_COPY_EXTENSIBLE); }), nullptr);
  EXPECT_EQ(with_failure([&] { return QvAudio_AllocAndCopyWfx(record, QVWAVEFORMAT_COPY_PLAIN); }), nullptr);
  EXPECT_EQ(with_failure([&] { return QvAudio_AllocAndCopyWfx(&record, QVWAVEFORMAT_COPY_PLAIN); }), nullptr);
}
