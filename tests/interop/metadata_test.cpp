// Markers, loops, broadcast records and tags between qv and other people's programs, in both directions.
#include "tests/interop/material.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>

using namespace interop_test;

namespace {

constexpr int kRate = 48000;

struct SndfileCloser {
  void operator()(SNDFILE* file) const { sf_close(file); }
};
using Sndfile = std::unique_ptr<SNDFILE, SndfileCloser>;

Sndfile open_to_read(const std::string& path) {
  SF_INFO info = {};
  return Sndfile(sf_open(path.c_str(), SFM_READ, &info));
}

Sndfile open_to_write(const std::string& path, int major) {
  SF_INFO info = {};
  info.channels = 1;
  info.samplerate = kRate;
  info.format = major | SF_FORMAT_PCM_16;
  return Sndfile(sf_open(path.c_str(), SFM_WRITE, &info));
}

void write_audio(SNDFILE* file) {
  const std::vector<short> samples(kRate, 1);
  EXPECT_EQ(sf_write_short(file, samples.data(), kRate), kRate);
}

struct Cue {
  int id;
  uint32_t frame;
  const char* name;
};
constexpr Cue kCues[] = {{1, 0, "start"}, {2, 1001, "even"}, {3, 47999, ""}};

/// What libsndfile writes of markers and a sampler's loops. It keeps no names in wave files.
void write_markers(const std::string& path, int major) {
  const Sndfile file = open_to_write(path, major);
  SF_CUES cues = {};
  for (const Cue& cue : kCues) {
    SF_CUE_POINT& point = cues.cue_points[cues.cue_count++];
    point.indx = cue.id;
    point.position = cue.frame;
    point.sample_offset = cue.frame;
    std::memcpy(&point.fcc_chunk, "data", 4);
    std::strcpy(point.name, cue.name);
  }
  ASSERT_EQ(sf_command(file.get(), SFC_SET_CUE, &cues, sizeof cues), SF_TRUE);
  SF_INSTRUMENT instrument = {};
  instrument.basenote = 64;
  instrument.key_hi = instrument.velocity_hi = 127;
  instrument.loop_count = 1;
  instrument.loops[0] = {SF_LOOP_FORWARD, 2000, 4000, 0};
  if (major == SF_FORMAT_WAV) // it stores no loops in AIFF
    ASSERT_EQ(sf_command(file.get(), SFC_SET_INSTRUMENT, &instrument, sizeof instrument), SF_TRUE);
  write_audio(file.get());
}

struct Way {
  int major;
  const char* from;
  const char* via; ///< a file between, of a container in which libsndfile looks for no markers; or none
  const char* to;
  const char* options;
  uint32_t divisor; ///< of positions
};

TEST(Metadata, MarkersAndLoopsOfSndfileReachItAgain) {
  const ScratchFolder folder;
  const Way ways[] = {{SF_FORMAT_WAV, "a.wav", "", "b.wav", "", 1},
                      {SF_FORMAT_WAV, "a.wav", "", "b.aiff", "", 1},
                      {SF_FORMAT_WAV, "a.wav", "x.w64", "b.wav", "", 1},
                      {SF_FORMAT_WAV, "a.wav", "x.rf64", "b.aiff", "", 1},
                      {SF_FORMAT_WAV, "a.wav", "", "h.wav", " --rate 24000", 2},
                      {SF_FORMAT_WAV, "a.wav", "", "h.aiff", " --rate 24000", 2},
                      {SF_FORMAT_AIFF, "a.aiff", "", "c.aiff", "", 1},
                      {SF_FORMAT_AIFF, "a.aiff", "x.w64", "c.wav", "", 1},
                      {SF_FORMAT_AIFF, "a.aiff", "", "h.aiff", " --rate 24000", 2}};
  for (const Way& way : ways) {
    SCOPED_TRACE(way.from + std::string(" to ") + way.via + way.to + way.options);
    const bool has_names = way.major == SF_FORMAT_AIFF;
    write_markers(folder.file(way.from), way.major);
    const std::string source = folder.file(*way.via ? way.via : way.from);
    if (*way.via) qv_says({"convert", folder.file(way.from), source});
    shell(std::string(QV_PROGRAM) + " convert " + source + " " + folder.file(way.to) + way.options);
    Json shown = qv_info(folder.file(way.to))["markers"];
    const size_t of_loops = shown.size() - std::size(kCues); // in AIFF, which libsndfile does not list
    shown.erase(shown.begin(), shown.begin() + static_cast<std::ptrdiff_t>(of_loops));
    const Sndfile file = open_to_read(folder.file(way.to));
    SF_CUES cues = {};
    ASSERT_EQ(sf_command(file.get(), SFC_GET_CUE, &cues, sizeof cues), SF_TRUE);
    ASSERT_EQ(cues.cue_count, std::size(kCues));
    for (size_t k = 0; k < std::size(kCues); ++k) {
      EXPECT_EQ(cues.cue_points[k].sample_offset, (kCues[k].frame + way.divisor / 2) / way.divisor);
      EXPECT_EQ(shown[k]["position"], cues.cue_points[k].sample_offset);
      if (has_names) EXPECT_STREQ(cues.cue_points[k].name, kCues[k].name);
    }
    if (way.major != SF_FORMAT_WAV) continue;
    SF_INSTRUMENT instrument = {};
    ASSERT_EQ(sf_command(file.get(), SFC_GET_INSTRUMENT, &instrument, sizeof instrument), SF_TRUE);
    EXPECT_EQ(instrument.basenote, 64);
    EXPECT_EQ(qv_info(folder.file(way.to))["sampler"]["loops"],
              Json::parse(R"([{"kind": "forward", "start": )" + std::to_string(2000 / way.divisor) + R"(, "end": )" +
                          std::to_string(4000 / way.divisor) + R"(, "count": 0}])"));
  }
}

TEST(Metadata, SoxFindsLoopsAndComments) {
  const ScratchFolder folder;
  write_markers(folder.file("a.wav"), SF_FORMAT_WAV);
  qv_says({"convert", folder.file("a.wav"), folder.file("b.aiff")});
  const std::string said = shell("sox -V4 " + folder.file("b.aiff") + " -n 2>&1");
  EXPECT_NE(said.find("Loop 0: start:   2000"), std::string::npos) << said;
  shell("sox " + recording("Noise") + " --comment 'Ein Wort' " + folder.file("c.aiff"));
  EXPECT_EQ(qv_info(folder.file("c.aiff"))["comments"], Json::array({"Ein Wort"}));
  qv_says({"convert", folder.file("c.aiff"), folder.file("d.wav")});
  EXPECT_NE(shell("ffprobe -v error -show_format " + folder.file("d.wav")).find("TAG:comment=Ein Wort"),
            std::string::npos);
}

TEST(Metadata, BroadcastRecordsOfFfmpeg) {
  const ScratchFolder folder;
  const std::string first = folder.file("first.wav");
  shell(
      kFfmpeg + "-i " + recording("Noise") + " -write_bext 1 -metadata description='A take' -metadata originator=rec " +
      "-metadata origination_date=2024-12-31 -metadata origination_time=10:00:00 -metadata time_reference=172800000 " +
      "-metadata coding_history='A=PCM,F=48000' " + first);
  const Json record = qv_info(first)["bext"];
  EXPECT_EQ(record["description"], "A take");
  EXPECT_EQ(record["time-reference"], 172800000);
  EXPECT_EQ(record["timecode"], "01:00:00:00");
  const std::string second = folder.file("second.wav");
  qv_says({"convert", first, second, "--rate", "96000"});
  const Json tags = Json::parse(shell("ffprobe -v error -of json -show_format " + second))["format"]["tags"];
  EXPECT_EQ(tags["time_reference"], "345600000");
  EXPECT_EQ(tags["date"], "2024-12-31");
  EXPECT_EQ(tags["coding_history"], "A=PCM,F=48000\r\nA=PCM,F=96000,W=16,M=mono,T=qv\r\n");
  const std::string said = shell("sndfile-metadata-get --bext-description --bext-originator " + second);
  EXPECT_NE(said.find("A take"), std::string::npos) << said;
  SF_BROADCAST_INFO info = {};
  ASSERT_EQ(sf_command(open_to_read(second).get(), SFC_GET_BROADCAST_INFO, &info, sizeof info), SF_TRUE);
  EXPECT_EQ(info.time_reference_low, 345600000u);
}

TEST(Metadata, BroadcastRecordsThatSndfileSets) {
  const ScratchFolder folder;
  const std::string path = folder.put("a.wav", cli_test::read_file(recording("Noise")));
  shell("sndfile-metadata-set --bext-description 'by sndfile' --bext-originator me --bext-orig-ref R1 --bext-umid U " +
        path + " " + folder.file("b.wav"));
  qv_says({"convert", folder.file("b.wav"), folder.file("c.wav")});
  const auto of = [&](const char* name) { return shell("sndfile-metadata-get --all " + folder.file(name)); };
  EXPECT_EQ(of("c.wav"), of("b.wav"));
  const Json record = qv_info(folder.file("c.wav"))["bext"];
  EXPECT_EQ(record["description"], "by sndfile");
  EXPECT_EQ(record["originator-reference"], "R1");
}

TEST(Metadata, PeaksAreMadeAnew) {
  const ScratchFolder folder;
  for (const std::string ending : {"wav", "aiff"}) {
    shell("sox " + recording("Noise") + " " + folder.file("late.wav") + " pad 2");
    shell("sndfile-convert -float32 -normalize " + folder.file("late.wav") + " " + folder.file("a." + ending));
    qv_says({"convert", folder.file("a." + ending), folder.file("b." + ending), "--gain-db", "-6"});
    const Sndfile file = open_to_read(folder.file("b." + ending));
    double said = 0.0;
    double found = 0.0;
    ASSERT_EQ(sf_command(file.get(), SFC_GET_SIGNAL_MAX, &said, sizeof said), SF_TRUE) << ending;
    ASSERT_EQ(sf_command(file.get(), SFC_CALC_SIGNAL_MAX, &found, sizeof found), 0);
    EXPECT_EQ(said, found);
    EXPECT_GT(said, 0.4);
    const auto position = [&](const std::string& name) {
      const std::string bytes = cli_test::read_file(folder.file(name + ending));
      return bytes.substr(bytes.find("PEAK") + 20, 4);
    };
    EXPECT_EQ(position("b."), position("a.")); // in the second block
  }
}

struct Texts {
  const char* written; ///< by ffmpeg
  const char* kept;    ///< by qv
};

TEST(Metadata, FfmpegAndQvShowTheSameTexts) {
  const ScratchFolder folder;
  for (const Texts& way : {Texts{"a.wav", "b.aiff"},
                           {"a.wav", "b.w64"},
                           {"a.wav", "b.rf64"},
                           {"c.aiff", "d.wav"},
                           {"c.aiff", "d.w64"},
                           {"a.wav", "b.flac"},
                           {"e.flac", "f.wav"},
                           {"e.flac", "f.aiff"}}) {
    SCOPED_TRACE(way.written + std::string(" to ") + way.kept);
    shell(kFfmpeg + "-i " + recording("Noise") + " -metadata title='Grün' -metadata comment=c -metadata copyright=me " +
          folder.file(way.written));
    qv_says({"convert", folder.file(way.written), folder.file(way.kept), "--no-metadata"});
    EXPECT_EQ(qv_info(folder.file(way.kept))["texts"], Json::array());
    cli_test::run_qv({"convert", folder.file(way.written), folder.file(way.kept)});
    const Json tags =
        Json::parse(shell("ffprobe -v error -of json -show_format " + folder.file(way.kept)))["format"]["tags"];
    EXPECT_EQ(tags["title"], "Grün") << tags;
    const bool is_renamed = std::string(way.written) == "e.flac"; // to DESCRIPTION, which libsndfile does not look for
    EXPECT_EQ(tags.value("comment", ""), is_renamed ? "" : "c") << tags;
    EXPECT_EQ(tags["copyright"], "me") << tags;
  }
}

TEST(Metadata, FramesThatMutagenWritesAndReads) {
  const ScratchFolder folder;
  const std::string script = folder.put("tag.py", R"(
import sys
from mutagen.id3 import TIT2, TPE1, COMM, TALB, APIC
from mutagen.wave import WAVE
from mutagen.aiff import AIFF
path, version = sys.argv[1], int(sys.argv[2])
file = (AIFF if path.endswith("aiff") else WAVE)(path)
if version:
    file.add_tags()
    file.tags.add(TIT2(encoding=1, text="Stück"))
    file.tags.add(TPE1(encoding=3 if version == 4 else 0, text=["Einer", "Zwei"] if version == 4 else "é"))
    file.tags.add(TALB(encoding=2 if version == 4 else 1, text="Album"))
    file.tags.add(COMM(encoding=0, lang="eng", desc="", text="Ein Wort"))
    file.tags.add(APIC(encoding=0, mime="image/png", type=3, desc="", data=b"T" * 300))
    file.save(v2_version=version)
else:
    print(file.tags["TIT2"], file.tags["TPE1"], file.tags["COMM::eng"], len(file.tags["APIC:"].data))
)");
  for (const int version : {3, 4}) {
    for (const char* name : {"a.wav", "a.aiff"}) {
      SCOPED_TRACE(name + std::to_string(version));
      const std::string path = folder.file(name);
      const std::string kept = folder.file(std::string(name) == "a.wav" ? "b.aiff" : "b.wav");
      qv_says({"convert", recording("Noise"), path});
      shell("/usr/bin/python3 " + script + " " + path + " " + std::to_string(version));
      cli_test::run_qv({"convert", path, kept});
      const Json tag = qv_info(kept)["id3"];
      EXPECT_EQ(tag["version"], "2." + std::to_string(version));
      std::map<std::string, std::string> texts;
      for (const Json& frame : tag["frames"])
        texts[frame["id"]] =
            frame["id"] == "APIC" ? std::to_string(frame["size"].get<int>()) : frame["text"].get<std::string>();
      EXPECT_EQ(texts, (std::map<std::string, std::string>{{"TIT2", "Stück"},
                                                           {"TPE1", version == 4 ? "Einer / Zwei" : "é"},
                                                           {"TALB", "Album"},
                                                           {"COMM", "Ein Wort"},
                                                           {"APIC", "313"}}));
      EXPECT_EQ(tag["frames"].back()["size"], 313); // encoding, type of picture and its length apart: 300
      const auto of = [&](const std::string& file) { return shell("/usr/bin/python3 " + script + " " + file + " 0"); };
      EXPECT_EQ(of(kept), of(path));
    }
  }
}

} // namespace
