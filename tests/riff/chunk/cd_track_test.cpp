#include "tests/riff/scratch_file.h"

#include "qv/riff.h"

#include <array>
#include <gtest/gtest.h>

using namespace riff_test;

namespace {

// Track 3 from sector 31,415, 4 minutes 5 seconds and 6 frames into the disc, 1:02.03 long: the layout that a CD drive
// shows to Windows programs.
const Bytes kDescriptor = u16(1) + u16(3) + u32(0x1234ABCD) + u32(31415) + u32(4653) + Bytes("\x06\x05\x04\x00", 4) +
                          Bytes("\x03\x02\x01\x00", 4);

using Track = std::array<DWORD, 5>; ///< number, first sector, start, length, serial

HRESULT read(const qv::WString& name, Track& track) {
  return riff_ReadCDAFile(name.c_str(), &track[0], &track[1], &track[2], &track[3], &track[4]);
}

TEST(CdTrack, DescriptorFilesAreReadOrRefused) {
  const struct {
    const char* name;
    Bytes bytes;
    HRESULT result;
  } cases[] = {
      {"descriptor", riff("CDDA", chunk("fmt ", kDescriptor)), S_OK},
      {"behind another chunk", riff("CDDA", chunk("note", "abc") + chunk("fmt ", kDescriptor)), S_OK},
      {"wave file", riff("WAVE", chunk("fmt ", kDescriptor)), QVERR_RIFF_WRONGFORM},
      {"not RIFF", header("RIFX", 36) + "CDDA", QVERR_RIFF_NOTRIFF},
      {"no format chunk", riff("CDDA", chunk("note", kDescriptor)), QVERR_RIFF_BADCDDAFMT},
      {"short format chunk", riff("CDDA", chunk("fmt ", kDescriptor.substr(0, 22))), QVERR_RIFF_BADCDDAFMT},
      {"long format chunk", riff("CDDA", chunk("fmt ", kDescriptor + "ab")), QVERR_RIFF_BADCDDAFMT},
      {"cut before the format chunk", header("RIFF", 36) + "CDDA", QVERR_RIFF_READ},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    ScratchFile file(row.bytes);
    QVCDDAFMT descriptor = {};
    file.move_to(30); // an open file is read from its start
    EXPECT_EQ(riff_ReadRIFFCDDA(file, &descriptor), row.result);
    const Bytes expected = row.result == S_OK ? kDescriptor : Bytes(sizeof descriptor, '\0');
    EXPECT_EQ(Bytes(reinterpret_cast<const char*>(&descriptor), sizeof descriptor), expected);
    EXPECT_EQ(riff_ReadRIFFCDDA(file, nullptr), E_INVALIDARG);
    file.close();
    Track track = {9, 9, 9, 9, 9};
    EXPECT_EQ(read(file.name(), track), row.result);
    EXPECT_EQ(track, row.result == S_OK ? (Track{3, 31415, (4 * 60 + 5) * 75 + 6, 4653, 0x1234ABCD}) : Track{});
    EXPECT_EQ(riff_ReadCDAFile(file.name().c_str(), nullptr, nullptr, nullptr, nullptr, nullptr), row.result);
  }
  Track track = {9, 9, 9, 9, 9};
  EXPECT_EQ(read(QV_TEXT("/no/such/file.cda"), track), QVERR_FILE_OPEN);
  EXPECT_EQ(track, Track{});
}

} // namespace
