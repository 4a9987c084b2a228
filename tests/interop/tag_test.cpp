// Texts between `qv tag` and ffmpeg, libsndfile, TagLib, mutagen and sox, in both directions.
#include "tests/interop/material.h"

#include <gtest/gtest.h>
#include <taglib/infotag.h>
#include <taglib/wavfile.h>

using namespace interop_test;

namespace {

struct Text {
  const char* key; ///< of qv
  const char* id;
  const char* ffmpeg;
  int sndfile;
  const char* text;
};

// Of odd and even lengths, in and outside of code page 1252, and of Unicode's first plane.
constexpr Text kTexts[] = {
    {"title", "INAM", "title", SF_STR_TITLE, "\u017Dlu\u0165"},
    {"artist", "IART", "artist", SF_STR_ARTIST, "Bj\u00F6rk"},
    {"album", "IPRD", "album", SF_STR_ALBUM, "\u65E5\u672C \U0001F3B5"},
    {"comment", "ICMT", "comment", SF_STR_COMMENT, "a = b; c"},
    {"date", "ICRD", "date", SF_STR_DATE, "2024-12-31"},
    {"genre", "IGNR", "genre", SF_STR_GENRE, "\u0440\u043E\u043A"},
    {"copyright", "ICOP", "copyright", SF_STR_COPYRIGHT, "\u00A9 me"},
};

Json texts_of(const std::string& file) { return qv_json({"tag", file})["tags"]; }

Json ffprobe_tags(const std::string& file) {
  return Json::parse(shell("ffprobe -v error -of json -show_format " + file))["format"]["tags"];
}

std::string copy_of_recording(const ScratchFolder& folder) {
  return folder.put("take.wav", cli_test::read_file(recording("Noise")));
}

/// The texts of a file as libsndfile reads them.
std::vector<std::string> sndfile_texts(const std::string& file, std::initializer_list<int> ids) {
  SF_INFO info = {};
  SNDFILE* const sound = sf_open(file.c_str(), SFM_READ, &info);
  std::vector<std::string> texts;
  for (const int id : ids) {
    const char* const text = sf_get_string(sound, id);
    texts.emplace_back(text ? text : "none");
  }
  sf_close(sound);
  return texts;
}

class ReadByOthers : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Tag, ReadByOthers, testing::Values("auto", "always"));

TEST_P(ReadByOthers, WhatIsWritten) {
  const ScratchFolder folder;
  const std::string file = folder.file("take.wav");
  const bool is_rf64 = GetParam() == std::string("always");
  shell(kFfmpeg + "-i " + recording("Noise") + " -rf64 " + GetParam() + " " + file);
  cli_test::Arguments words = {"tag", file};
  for (const Text& text : kTexts)
    words.push_back(std::string(text.key) + "=" + text.text);
  EXPECT_EQ(qv_says(words), "");
  const Json tags = ffprobe_tags(file);
  TagLib::RIFF::WAV::File taglib(file.c_str());
  for (const Text& text : kTexts) {
    EXPECT_EQ(tags.value(text.ffmpeg, "none"), text.text);
    if (!is_rf64) EXPECT_EQ(taglib.InfoTag()->fieldText(text.id).to8Bit(true), text.text);
    EXPECT_EQ(sndfile_texts(file, {text.sndfile}), std::vector<std::string>{text.text});
  }
  EXPECT_EQ(shell("sox " + file + " -t raw - | cksum"), shell("sox " + recording("Noise") + " -t raw - | cksum"));
}

void write_by_ffmpeg(const std::string& file) {
  std::string options;
  for (const Text& text : kTexts)
    options += " -metadata " + std::string(text.ffmpeg) + "='" + text.text + "'";
  shell(kFfmpeg + "-i " + recording("Noise") + options + " " + file);
}

void write_by_taglib(const std::string& file) {
  TagLib::RIFF::WAV::File taglib(file.c_str());
  for (const Text& text : kTexts)
    taglib.InfoTag()->setFieldText(text.id, TagLib::String(text.text, TagLib::String::UTF8));
  taglib.save(TagLib::RIFF::WAV::File::Info);
}

void write_by_sndfile(const std::string& file) {
  SF_INFO info = {};
  SNDFILE* const sound = sf_open(file.c_str(), SFM_RDWR, &info);
  for (const Text& text : kTexts)
    EXPECT_EQ(sf_set_string(sound, text.sndfile, text.text), 0);
  EXPECT_EQ(sf_close(sound), 0);
}

TEST(Tag, WhatOthersWriteIsRead) {
  const ScratchFolder folder;
  for (const auto& write : {write_by_ffmpeg, write_by_taglib, write_by_sndfile}) {
    const std::string file = copy_of_recording(folder);
    write(file);
    const Json texts = texts_of(file);
    for (const Text& text : kTexts)
      EXPECT_EQ(texts.value(text.id, "none"), text.text);
    // Changed once more, and read by the one that reads strictly.
    cli_test::run_qv({"tag", file, "INAM=other", "--remove", "artist"});
    TagLib::RIFF::WAV::File taglib(file.c_str());
    EXPECT_EQ(taglib.InfoTag()->title(), "other");
    EXPECT_TRUE(taglib.InfoTag()->artist().isEmpty());
    EXPECT_EQ(taglib.InfoTag()->album().to8Bit(true), kTexts[2].text);
  }
}

TEST(Tag, ExchangesTheBroadcastChunk) {
  const ScratchFolder folder;
  const std::string file = copy_of_recording(folder);
  const Json fields = {{"description", "Scene 1"},         {"originator", "Recorder"},
                       {"originator-reference", "REF"},    {"origination-date", "2024-12-31"},
                       {"origination-time", "23:59:58"},   {"time-reference", 5'000'000'000},
                       {"coding-history", "A=PCM,F=48000"}};
  shell("sndfile-metadata-set --bext-description 'Scene 1' --bext-originator Recorder --bext-orig-ref REF "
        "--bext-orig-date 2024-12-31 --bext-orig-time 23:59:58 --bext-time-ref 5000000000 "
        "--bext-coding-hist A=PCM,F=48000 " +
        file + " " + folder.file("set.wav"));
  shell(kFfmpeg + "-i " + file +
        " -write_bext 1 -metadata description='Scene 1' -metadata originator=Recorder "
        "-metadata originator_reference=REF -metadata origination_date=2024-12-31 -metadata origination_time=23:59:58 "
        "-metadata time_reference=5000000000 -metadata coding_history=A=PCM,F=48000 " +
        folder.file("ffmpeg.wav"));
  for (const char* name : {"set.wav", "ffmpeg.wav"}) {
    const Json broadcast = qv_json({"tag", folder.file(name)})["bext"];
    for (const auto& [key, value] : fields.items())
      if (key == "coding-history") // libsndfile adds a line of its own
        EXPECT_EQ(broadcast.value(key, "").starts_with(std::string(value)), true) << name;
      else
        EXPECT_EQ(broadcast[key], value) << name << " " << key;
  }
  EXPECT_EQ(qv_says({"tag", file, "description=Scene 1", "originator=Recorder", "originator-reference=REF",
                     "origination-date=2024-12-31", "origination-time=23:59:58", "time-reference=5000000000",
                     "coding-history=A=PCM,F=48000", "loudness=-23.25", "max-true-peak=-1",
                     "umid=" + std::string(62, '1') + "0F"}),
            "");
  const Json tags = ffprobe_tags(file);
  EXPECT_EQ(tags.value("comment", ""), "Scene 1");
  EXPECT_EQ(tags.value("encoded_by", ""), "Recorder");
  EXPECT_EQ(tags.value("originator_reference", ""), "REF");
  EXPECT_EQ(tags.value("date", ""), "2024-12-31");
  EXPECT_EQ(tags.value("creation_time", ""), "23:59:58");
  EXPECT_EQ(tags.value("time_reference", ""), "5000000000");
  EXPECT_EQ(tags.value("umid", ""), "0x" + std::string(62, '1') + "0F");
  const std::string shown = shell("sndfile-metadata-get --all " + file);
  for (const char* line :
       {"Description            : Scene 1", "Originator             : Recorder", "Origination ref        : REF",
        "Loudness value         : -23.25", "Max. true peak level   :  -1.00", "Coding history         : A=PCM,F=48000"})
    EXPECT_NE(shown.find(line), std::string::npos) << shown;
}

TEST(Tag, ExchangesTheTextsOfAiffAndWave64) {
  const ScratchFolder folder;
  const std::string aiff = folder.file("a.aiff");
  const std::string wave64 = folder.file("a.w64");
  for (const std::string& file : {aiff, wave64}) {
    shell(kFfmpeg + "-i " + recording("Noise") + " -metadata title=first -metadata author=somebody " + file);
    if (file == aiff) EXPECT_EQ(texts_of(file), (Json{{"NAME", "first"}, {"AUTH", "somebody"}}));
    const std::string samples = shell(kFfmpeg + "-i " + file + " -f s16le - | cksum");
    EXPECT_EQ(qv_says({"tag", file, "title=\u017Dlu\u0165", "artist=me", "comment=\u65E5", "copyright=x"}), "");
    const Json tags = ffprobe_tags(file);
    EXPECT_EQ(tags.value("title", ""), "\u017Dlu\u0165");
    EXPECT_EQ(tags.value(file == aiff ? "author" : "artist", ""), "me");
    EXPECT_EQ(tags.value("comment", ""), "\u65E5");
    EXPECT_EQ(tags.value("copyright", ""), "x");
    EXPECT_EQ(shell(kFfmpeg + "-i " + file + " -f s16le - | cksum"), samples);
    EXPECT_EQ(shell("sox " + file + " -t raw -L - | cksum"), samples);
  }
  EXPECT_EQ(sndfile_texts(aiff, {SF_STR_TITLE, SF_STR_ARTIST, SF_STR_COMMENT, SF_STR_COPYRIGHT}),
            (std::vector<std::string>{"\u017Dlu\u0165", "me", "\u65E5", "x"}));
  EXPECT_EQ(shell("soxi -a " + aiff), "\u65E5\n");
}

TEST(Tag, TextsSurviveWave64) {
  const ScratchFolder folder;
  const std::string file = folder.file("take.wav");
  shell("sox " + recording("Noise") + " " + file + " trim 0 8000s"); // no padding, which libsndfile would read
  const std::string wave64 = folder.file("a.w64");
  qv_says({"tag", file, "title=\u00E9", "description=D", "--code-page", "1252"});
  qv_says({"convert", file, wave64});
  EXPECT_EQ(shell("sox " + wave64 + " -t raw - | cksum"), shell("sox " + file + " -t raw - | cksum"));
  qv_says({"convert", wave64, folder.file("b.wav")});
  EXPECT_EQ(qv_says({"tag", folder.file("b.wav")}), "INAM=\u00E9\ndescription=D\ntime-reference=0\nbext-version=1\n");
  const std::string chunks = qv_says({"info", folder.file("b.wav")});
  EXPECT_EQ(chunks.find("\"CSET\""), chunks.rfind("\"CSET\"")) << chunks;
}

TEST(Tag, KeepsTheTagsOfMutagen) {
  const ScratchFolder folder;
  const std::string wave = copy_of_recording(folder);
  const std::string aiff = folder.file("a.aiff");
  shell(kFfmpeg + "-i " + wave + " " + aiff);
  for (const std::string& file : {wave, aiff}) {
    const auto mutagen = [&](const std::string& work) {
      return shell("/usr/bin/python3 -c \"import mutagen, mutagen.id3\nf = mutagen.File('" + file + "')\n" + work +
                   "\"");
    };
    mutagen("f.add_tags()\nf.tags.add(mutagen.id3.TIT2(encoding=3, text='\u017Dlu\u0165'))\nf.save()");
    EXPECT_EQ(qv_says({"tag", file, "title=\u00E9"}), "");
    EXPECT_EQ(mutagen("print(f.tags['TIT2'], f.info.length)"), "\u017Dlu\u0165 1.4078958333333333\n");
    EXPECT_EQ(texts_of(file).value(file == wave ? "INAM" : "NAME", ""), "\u00E9");
  }
}

} // namespace
