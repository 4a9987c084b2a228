// The texts of INFO lists between the library, ffmpeg and libsndfile.
#include "tests/interop/material.h"
#include "tests/riff/riff_bytes.h"

#include "qv/summary.h"

#include <gtest/gtest.h>
#include <sndfile.h>

using namespace interop_test;

namespace {

struct Tag {
  const char* id;
  const char* ffmpeg;
  int sndfile;
  const char* text;
};

// Sizes with the terminator are odd and even in turn. ffmpeg writes UTF-8, which a code page shows as it is only for
// ASCII.
const Tag kTags[] = {
    {"INAM", "title", SF_STR_TITLE, "Ti"},         {"IART", "artist", SF_STR_ARTIST, "An artist"},
    {"ICMT", "comment", SF_STR_COMMENT, "odd"},    {"ICOP", "copyright", SF_STR_COPYRIGHT, "c"},
    {"ICRD", "date", SF_STR_DATE, "2024"},         {"IGNR", "genre", SF_STR_GENRE, "a = b; c"},
    {"IPRD", "album", SF_STR_ALBUM, "1234567890"},
};

DWORD id_of(const Tag& tag) { return riff_test::u32_at(tag.id, 0); }

void expect_tags(const std::string& path, DWORD more_items) {
  const LibraryFile file(path);
  DWORD size = 0;
  ASSERT_EQ(riff_FindListChunkFromStart(file, QVSUMMARY_FORM_INFO, &size), S_OK);
  _summarylisttag list;
  ASSERT_EQ(QvSummary_Load(file, &list, &size), S_OK);
  EXPECT_EQ(list.count, std::size(kTags) + more_items);
  for (const Tag& tag : kTags) {
    SCOPED_TRACE(tag.id);
    const WCHAR* const loaded = QvSummary_GetItemText(&list, id_of(tag));
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded == wide(tag.text), true);
    WCHAR fetched[64];
    ASSERT_EQ(riff_SeekDataStart(file), S_OK);
    ASSERT_EQ(QvSummary_GetStringFromFile(file, id_of(tag), fetched, 64, nullptr), S_OK);
    EXPECT_EQ(fetched == wide(tag.text), true);
  }
  QvSummary_Free(&list);
}

TEST(Summary, ReadsWhatFfmpegWrites) {
  const ScratchFolder folder;
  const std::string path = folder.file("ffmpeg.wav");
  std::string options;
  for (const Tag& tag : kTags)
    options += " -metadata " + std::string(tag.ffmpeg) + "='" + tag.text + "'";
  shell(kFfmpeg + "-i " + recording("Noise") + options + " " + path);
  expect_tags(path, 1); // and its own name
}

TEST(Summary, ReadsWhatSndfileWrites) {
  const ScratchFolder folder;
  for (const bool before_data : {true, false}) {
    const std::string path = folder.file("sndfile.wav");
    SF_INFO info = {};
    info.channels = 1;
    info.samplerate = 8000;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    const short samples[3] = {1, 2, 3};
    if (!before_data) sf_write_short(file, samples, 3);
    for (const Tag& tag : kTags)
      EXPECT_EQ(sf_set_string(file, tag.sndfile, tag.text), 0);
    if (before_data) sf_write_short(file, samples, 3);
    EXPECT_EQ(sf_close(file), 0);
    expect_tags(path, 0);
  }
}

/// A recording with our list behind its data, or before it.
std::string tagged_recording(const ScratchFolder& folder, bool before_data) {
  _summarylisttag list;
  for (const Tag& tag : kTags)
    EXPECT_EQ(QvSummary_SetItem(&list, id_of(tag), wide(tag.text).c_str()), S_OK);
  const std::string bytes = cli_test::read_file(recording("Noise"));
  const size_t data_at = bytes.find("data");
  const std::string path = folder.put("tagged.wav", before_data ? bytes.substr(0, data_at) : bytes);
  {
    const LibraryFile file(path);
    LARGE_INTEGER end{};
    EXPECT_TRUE(SetFilePointerEx(file, end, nullptr, FILE_END));
    DWORD written = 0;
    EXPECT_EQ(QvSummary_Save(file, &list, &written), S_OK);
    EXPECT_EQ(riff_UpdateRIFFSize(file, LONGLONG{written}), S_OK);
  }
  if (before_data) folder.put("tagged.wav", cli_test::read_file(path) + bytes.substr(data_at));
  QvSummary_Free(&list);
  return path;
}

TEST(Summary, FfmpegAndSndfileReadWhatIsSaved) {
  const ScratchFolder folder;
  for (const bool before_data : {true, false}) {
    SCOPED_TRACE(before_data);
    const std::string path = tagged_recording(folder, before_data);
    const Json tags = Json::parse(shell("ffprobe -v error -of json -show_format " + path))["format"]["tags"];
    EXPECT_EQ(tags.size(), std::size(kTags));
    SF_INFO info = {};
    SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    for (const Tag& tag : kTags) {
      EXPECT_EQ(tags.value(tag.ffmpeg, "none"), tag.text);
      const char* const text = sf_get_string(file, tag.sndfile);
      EXPECT_STREQ(text, tag.text);
    }
    EXPECT_EQ(sf_close(file), 0);
    EXPECT_EQ(data_chunk(path) == data_chunk(recording("Noise")), true);
    EXPECT_EQ(shell("sox " + path + " -t raw - | cksum"), shell("sox " + recording("Noise") + " -t raw - | cksum"));
  }
}

} // namespace
