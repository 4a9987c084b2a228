// Headers that the library writes and mends, and Wave64 files of ffmpeg, chunk by chunk.
#include "tests/interop/material.h"

#include "qv/riff.h"
#include "qv/riff64.h"
#include "qv/wave_file.h"

#include <gtest/gtest.h>

using namespace interop_test;

namespace {

const WAVEFORMATEX kFormat = {1, 1, 48'000, 96'000, 2, 16, 0};

TEST(Wave64, OfOtherPrograms) {
  const ScratchFolder folder;
  const std::string name = folder.file("file.w64");
  shell(kFfmpeg + "-i " + recording("Front_Center") + " " + name);
  const std::string raw = data_chunk(recording("Front_Center"));
  {
    const LibraryFile file(name);
    ULONGLONG size = 0;
    ASSERT_EQ(riff64_FindChunkHeaderInRIFF(file, &QVW64_DATA, &size, nullptr), S_OK);
    EXPECT_EQ(size, (raw.size() + 7) / 8 * 8) << "ffmpeg counts the padding";
    std::string audio(size, '\0');
    ASSERT_EQ(riff64_ReadData(file, audio.data(), size), S_OK);
    EXPECT_EQ(audio == raw + std::string(size - raw.size(), '\0'), true);
  }
  // And ffmpeg reads what the library writes.
  const std::string ours = folder.file("ours.w64");
  ASSERT_EQ(QvInitializeWav64WithJunk(wide(ours).c_str(), &kFormat, CREATE_ALWAYS, 4096), S_OK);
  {
    const LibraryFile file(ours);
    ASSERT_EQ(riff64_RestoreLocation(file, 4096), S_OK);
    ASSERT_EQ(riff64_WriteToFile(file, raw.data(), raw.size()), S_OK);
    ASSERT_EQ(QvInsertW64Header(file, &kFormat, raw.size(), 4096), S_OK);
  }
  EXPECT_EQ(shell(kFfmpeg + "-i " + ours + " -f s16le -") == raw, true);
}

TEST(WaveRepair, SoxReadsAMendedFile) {
  const ScratchFolder folder;
  const std::string raw = data_chunk(recording("Front_Center"));
  const std::string name = folder.file("cut.wav");
  ASSERT_EQ(QvInitializeWav(wide(name).c_str(), &kFormat, CREATE_ALWAYS), S_OK);
  {
    const LibraryFile file(name); // a recording that was interrupted: its header says that it is empty
    ASSERT_EQ(riff_RestoreLocation(file, 46), S_OK);
    ASSERT_EQ(riff64_WriteToFile(file, raw.data(), raw.size()), S_OK);
    EXPECT_EQ(shell("sox " + name + " -t raw - 2>/dev/null || true").size(), 0u);
    ASSERT_EQ(QvFixTrashedWav(file, nullptr, 0xFFFFFFFF), S_OK);
  }
  EXPECT_EQ(shell("sox " + name + " -t raw -") == raw, true);
}

} // namespace
