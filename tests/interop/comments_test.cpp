// The comments of FLAC and Ogg files: what `qv convert` carries there others read, and what they write it carries back.
#include "tests/interop/material.h"

#include <gtest/gtest.h>
#include <taglib/fileref.h>
#include <taglib/tpropertymap.h>

using namespace interop_test;

namespace {

struct Comment {
  const char* id; ///< in an INFO list
  const char* name;
  const char* ffmpeg;
  const char* text;
};

// One text each, so that none can pass for another.
constexpr Comment kComments[] = {
    {"INAM", "TITLE", "title", "\u017Dlu\u0165 \"1\""},
    {"IART", "ARTIST", "artist", "Bj\u00F6rk = one"},
    {"IPRD", "ALBUM", "album", "\u65E5\u672C \U0001F3B5"},
    {"ICMT", "COMMENT", nullptr, "a; b\nsecond line"},
    {"ICRD", "DATE", "date", "2024-12-31"},
    {"IGNR", "GENRE", "genre", "\u0440\u043E\u043A"},
    {"ICOP", "COPYRIGHT", "copyright", "\u00A9 me"},
    {"IPRT", "TRACKNUMBER", "track", "7"},
};

/// All comments by their names, of which mutagen writes those that it is given.
Json mutagen(const ScratchFolder& folder, const std::string& file, const Json& set = Json::object()) {
  const std::string script = folder.put("comments.py", R"(
import json, mutagen, sys
file = mutagen.File(sys.argv[1])
given = json.load(open(sys.argv[2]))
for name, text in given.items():
    file[name] = text
if given:
    file.save()
print(json.dumps({name.upper(): texts[0] for name, texts in file.tags.as_dict().items()}))
)");
  return Json::parse(shell("/usr/bin/python3 " + script + " " + file + " " + folder.put("set.json", set.dump())));
}

class Comments : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Containers, Comments, testing::Values("flac", "ogg"));

TEST_P(Comments, CarriedByQvAreReadByOthers) {
  const ScratchFolder folder;
  const std::string wave = folder.put("in.wav", cli_test::read_file(recording("Noise")));
  const std::string file = folder.file(std::string("out.") + GetParam());
  cli_test::Arguments words = {"tag", wave};
  for (const Comment& comment : kComments)
    words.push_back(std::string(comment.id) + "=" + comment.text);
  qv_says(words);
  qv_says({"convert", wave, file});
  const Json by_mutagen = mutagen(folder, file);
  const TagLib::FileRef taglib(file.c_str());
  const TagLib::PropertyMap properties = taglib.file()->properties();
  for (const Comment& comment : kComments) {
    EXPECT_EQ(by_mutagen.value(comment.name, "none"), comment.text);
    EXPECT_EQ(properties[comment.name].toString().to8Bit(true), comment.text);
  }
}

TEST_P(Comments, WrittenByOthersAreCarriedByQv) {
  const ScratchFolder folder;
  std::string options;
  Json given;
  for (const Comment& comment : kComments) {
    given[comment.name] = comment.text;
    if (comment.ffmpeg) options += " -metadata " + std::string(comment.ffmpeg) + "='" + comment.text + "'";
  }
  const std::string plain = folder.file(std::string("plain.") + GetParam());
  const std::string by_ffmpeg = folder.file(std::string("ffmpeg.") + GetParam());
  const std::string codec = GetParam() == std::string("ogg") ? " -c:a libvorbis " : " ";
  qv_says({"convert", recording("Noise"), plain});
  shell(kFfmpeg + "-i " + recording("Noise") + options + codec + by_ffmpeg);
  mutagen(folder, plain, given);
  for (const std::string& file : {plain, by_ffmpeg}) {
    const std::string wave = folder.file("out.wav");
    qv_says({"convert", file, wave});
    const Json texts = qv_json({"tag", wave})["tags"];
    for (const Comment& comment : kComments)
      if (file == plain || comment.ffmpeg) EXPECT_EQ(texts.value(comment.id, "none"), comment.text) << file;
  }
}

} // namespace
