#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>

using namespace riff_test;

namespace {

// Track 3 from sector 31,415, 4 minutes 5 seconds and 6 frames into the disc, 1:02.03 long: the layout that a CD drive
// shows to Windows programs.
const Bytes kDescriptor = u16(1) + u16(3) + u32(0x1234ABCD) + u32(31415) + u32(4653) + Bytes("\x06\x05\x04\x00", 4) +
                          Bytes("\x03\x02\x01\x00", 4);

struct Track {
  DWORD track, first_sector, start, length, serial;
  bool operator==(const Track&) const = default;
};

HRESULT read(const qv::WString& name, Track& track) {
  return riff_ReadCDAFile(name.c_str(), &track.track, &track.first_sector, &track.start, &track.length, &track.serial);
}

constexpr Track kNothing = {0, 0, 0, 0, 0};
constexpr Track kTrack = {3, 31415, (4 * 60 + 5) * 75 + 6, 4653, 0x1234ABCD};

TEST(CdTrack, DescriptorFilesAreReadOrRefused) {
  const struct {
    const char* name;
    Bytes bytes;
    HRESULT result;
    Track track;
  } cases[] = {
      {"descriptor", riff("CDDA", chunk("fmt ", kDescriptor)), S_OK, kTrack},
      {"behind another chunk", riff("CDDA", chunk("note", "abc") + chunk("fmt ", kDescriptor)), S_OK, kTrack},
      {"wave file", riff("WAVE", chunk("fmt ", kDescriptor)), QVERR_RIFF_WRONGFORM, kNothing},
      {"not RIFF", header("RIFX", 36) + "CDDA", QVERR_RIFF_NOTRIFF, kNothing},
      {"no format chunk", riff("CDDA", chunk("note", kDescriptor)), QVERR_RIFF_BADCDDAFMT, kNothing},
      {"short format chunk", riff("CDDA", chunk("fmt ", kDescriptor.substr(0, 22))), QVERR_RIFF_BADCDDAFMT, kNothing},
      {"long format chunk", riff("CDDA", chunk("fmt ", kDescriptor + "ab")), QVERR_RIFF_BADCDDAFMT, kNothing},
      {"empty", "", QVERR_RIFF_READ, kNothing},
      {"cut before the format chunk", header("RIFF", 36) + "CDDA", QVERR_RIFF_READ, kNothing},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    ScratchFile file(row.bytes);
    file.close();
    Track track = {9, 9, 9, 9, 9};
    EXPECT_EQ(read(file.name(), track), row.result);
    EXPECT_EQ(track == row.track, true);
    EXPECT_EQ(riff_ReadCDAFile(file.name().c_str(), nullptr, nullptr, nullptr, nullptr, nullptr), row.result);
  }
}

TEST(CdTrack, MissingFileGivesZeros) {
  Track track = {9, 9, 9, 9, 9};
  EXPECT_EQ(read(QV_TEXT("/no/such/file.cda"), track), QVERR_FILE_OPEN);
  EXPECT_EQ(track == kNothing, true);
}

TEST(CdTrack, OpenFileIsReadFromItsStart) {
  const ScratchFile file(riff("CDDA", chunk("fmt ", kDescriptor)));
  file.move_to(30);
  QVCDDAFMT descriptor = {};
  EXPECT_EQ(riff_ReadRIFFCDDA(file, &descriptor), S_OK);
  EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&descriptor), sizeof descriptor), kDescriptor);
  EXPECT_EQ(riff_ReadRIFFCDDA(file, nullptr), E_INVALIDARG);
}

} // namespace
