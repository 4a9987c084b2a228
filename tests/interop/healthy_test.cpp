// The gate for healthy files: small files as other makers write them. A repair changes no byte of them, a text that is
// set and removed leaves all else as it was, and a conversion to the same type keeps audio and metadata.
#include "tests/cli/wave_bytes.h"
#include "tests/interop/chunks.h"
#include "tests/interop/material.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace interop_test;
using namespace cli_test;

namespace {

/// What is true of a file beside that it is healthy.
enum Kind {
  kPlain,
  kDecoded, ///< qv does not write its samples as they are: metadata alone are kept
  kForeign, ///< of another kind, which is neither mended nor tagged
};

struct Maker {
  const char* file;
  const char* command; ///< makes $f; $m is mono, $s has six channels; none where the bytes are made here
  Kind kind = kPlain;
  Bytes bytes = {};
};

Bytes text_chunk(const char* id, size_t size, const char* text) {
  return chunk(id, Bytes(text) + Bytes(size - std::string(text).size(), '\0'));
}

/// A cue point, its label and note, and a region of 20 frames.
Bytes cue_chunks() {
  const Bytes point = u32(1) + u32(7) + "data" + u32(0) + u32(0) + u32(7);
  const Bytes region = u32(1) + u32(20) + "rgn " + Bytes(8, '\0');
  return chunk("cue ", u32(1) + point) +
         list("adtl", chunk("labl", u32(1) + Bytes("here\0", 5)) + chunk("note", u32(1) + Bytes("why\0", 4)) +
                          chunk("ltxt", region));
}

Bytes sampler_chunks() {
  const Bytes loop = u32(0) + u32(0) + u32(10) + u32(50) + u32(0) + u32(0);
  return chunk("smpl", Bytes(28, '\0') + u32(1) + u32(0) + loop) + chunk("inst", "\x3C\1\2\3\4\5\6") +
         chunk("acid", Bytes(24, '\1'));
}

Bytes built(const Bytes& before, const Bytes& behind, size_t samples = 100) {
  return riff("WAVE", before + kFormat + chunk("data", Bytes(2 * samples, '\x11')) + behind);
}

const Bytes kXml = chunk("iXML", "<BWFXML><PROJECT>odd</PROJECT></BWFXML>"); // 39 bytes
const Bytes kBext = text_chunk("bext", 602 + 7, "a take");

const Maker kMakers[] = {
    {"alsa.wav", "cp /usr/share/sounds/alsa/Noise.wav $f"},
    {"arecord16.wav", "arecord -q -D null -d 1 -f S16_LE -r 8000 $f"},
    {"arecord24.wav", "arecord -q -D null -d 1 -f S24_3LE -c 2 -r 8000 $f"},
    {"arecordf.wav", "arecord -q -D null -d 1 -f FLOAT_LE -r 8000 $f"},
    {"sox8.wav", "sox $m -b 8 $f"},
    {"sox16.wav", "sox $m $f"},
    {"sox24.wav", "sox $m -b 24 $f"},
    {"soxpcm24.wav", "sox $m -b 24 -t wavpcm $f"},
    {"sox32.wav", "sox $m -b 32 $f"},
    {"soxf32.wav", "sox $m -e float -b 32 $f"},
    {"soxf64.wav", "sox $m -e float -b 64 $f"},
    {"sox6.wav", "sox $s $f"},
    {"sox.w64", "sox $m $f"},
    {"sox24.w64", "sox $m -b 24 $f"},
    {"sox.aiff", "sox $m $f"},
    {"sox24.aifc", "sox $m -b 24 $f"},
    {"alaw.wav", "sox $m -e a-law $f"},
    {"mulaw.wav", "sox $m -e mu-law $f"},
    {"msadpcm.wav", "sox $m -e ms-adpcm $f", kDecoded},
    {"imaadpcm.wav", "sox $m -e ima-adpcm $f", kDecoded},
    {"gsm.wav", "sox $m -r 8000 -e gsm-full-rate $f", kDecoded},
    {"texts.wav", "ffmpeg -v error -i $m -metadata title=T -metadata artist=Ar -metadata date=2024 $f"},
    {"utf8.wav", "ffmpeg -v error -i $m -metadata title=Größe€ $f"},
    {"bext.wav", "ffmpeg -v error -i $m -write_bext 1 -metadata description=D -metadata time_reference=4800 $f"},
    {"levl.wav", "ffmpeg -v error -i $m -write_peak on $f"},
    {"exact.wav", "ffmpeg -v error -i $m -bitexact $f"},
    {"ff6.wav", "ffmpeg -v error -i $s -c:a pcm_s24le $f"},
    {"ff.rf64", "ffmpeg -v error -i $m -rf64 always -f wav $f"},
    {"fff64.w64", "ffmpeg -v error -i $m -c:a pcm_f64le $f"},
    {"mp3.wav", "ffmpeg -v error -i $m -c:a libmp3lame $f", kDecoded},
    {"ff.aiff", "ffmpeg -v error -i $m -metadata title=T -metadata author=A $f"},
    {"sowt.aifc", "ffmpeg -v error -i $m -c:a pcm_s16le -f aiff $f"},
    {"id3.aiff", "ffmpeg -v error -i $m -write_id3v2 1 -metadata title=T $f"},
    {"wavex.wav", "sndfile-convert $m $d/x.wav && sndfile-convert -float32 $d/x.wav $f"}, // with a PEAK chunk
    {"sf.rf64", "sndfile-convert -pcm24 $m $f"},
    {"sf.w64", "sndfile-convert -float32 $m $f"},
    {"sf.aiff", "sndfile-convert -pcm24 $m $f"},
    {"sffl32.aifc", "sndfile-convert -float32 $m $f"},
    {"sfbext.wav",
     "sndfile-metadata-set --bext-description D --bext-coding-hist H --bext-time-ref 9 --str-title T $m $f"},
    {"mutagen.wav",
     "cp $m $f && /usr/bin/python3 -c 'import sys, mutagen.wave as m, mutagen.id3 as i; f = m.WAVE(sys.argv[1]);"
     " f.add_tags(); f.tags.add(i.TIT2(text=\"T\")); f.save()' $f"},
    {"mutagen.aiff",
     "sox $m $f && /usr/bin/python3 -c 'import sys, mutagen.aiff as m, mutagen.id3 as i; f = m.AIFF(sys.argv[1]);"
     " f.add_tags(); f.tags.add(i.TIT2(text=\"T\")); f.save()' $f"},
    {"flac.flac", "flac -s $m -o $f", kForeign},
    {"vorbis.ogg", "sox $m $f", kForeign},
    {"mp3.mp3", "ffmpeg -v error -i $m $f", kForeign},
    // As field recorders, samplers and editors write them.
    {"recorder.wav", nullptr, kPlain, built(kBext + kXml + chunk("JUNK", Bytes(64, '\0')), "")},
    {"late.wav", nullptr, kPlain, built("", kBext + kXml)},
    {"cue.wav", nullptr, kPlain, built("", cue_chunks() + list("INFO", chunk("INAM", Bytes("T\0", 2))))},
    {"sampler.wav", nullptr, kPlain, built(sampler_chunks(), "")},
    {"filler.wav", nullptr, kPlain, built(chunk("FLLR", Bytes(100, '\0')), chunk("PAD ", Bytes(30, '\0')))},
    {"unknown.wav", nullptr, kPlain, built(chunk("minf", Bytes(16, '\2')), chunk("regn", Bytes(93, '\3')))},
    {"silent.wav", nullptr, kPlain,
     riff("WAVE", chunk("bext", Bytes(602, '\0')) + kFormat + chunk("data", Bytes(4000, '\0')))},
    {"empty.wav", nullptr, kPlain, built("", "", 0)},
    {"behind.wav", nullptr, kPlain, riff("WAVE", chunk("data", Bytes(200, '\x11')) + kFormat)},
};

void make(const Maker& maker, const ScratchFolder& folder) {
  const std::string file = folder.file(maker.file);
  if (!maker.command) return write_file(file, maker.bytes);
  shell("d=" + folder.path().string() + " m=$d/mono.wav s=$d/six.wav f=" + file + "; " + maker.command);
}

/// What describes the samples or fills room is made anew, or not copied. Texts, for which "CSET" may be added, are
/// compared as such; a history of codings grows.
std::vector<Chunk> kept_chunks(const std::string& bytes, bool is_copy) {
  static const std::vector<std::string> kMade = {"fmt ", "fact", "ds64", "PEAK", "COMM", "FVER",
                                                 "JUNK", "junk", "FLLR", "PAD ", "data", "SSND"};
  std::vector<Chunk> kept;
  for (Chunk& chunk : chunks_of(bytes)) {
    if (is_copy && chunk.id == "bext") chunk.data.resize(602);
    const bool is_made = is_copy && std::find(kMade.begin(), kMade.end(), chunk.id) != kMade.end();
    if (!is_made && chunk.id != "LIST:INFO" && chunk.id != "CSET") kept.push_back(chunk);
  }
  return kept;
}

std::string audio_of(const Bytes& bytes) {
  const auto chunks = chunks_of(bytes);
  return data_of(chunks, "data") + data_of(chunks, "SSND");
}

/// The samples as another program reads them: some writers count padding as audio, or turn bytes around.
std::string decoded(const std::string& file) { return shell(kFfmpeg + "-i " + file + " -f f64le -"); }

/// The ids of the chunks that are not the same, for a message that tells what is wrong.
std::string differences(const std::vector<Chunk>& before, const std::vector<Chunk>& after) {
  std::string text;
  for (const Chunk& chunk : before)
    if (std::find(after.begin(), after.end(), chunk) == after.end()) text += " -" + chunk.id;
  for (const Chunk& chunk : after)
    if (std::find(before.begin(), before.end(), chunk) == before.end()) text += " +" + chunk.id;
  return text.empty() && before != after ? " their order" : text;
}

/// One line on standard error, or none.
bool is_calm(const Outcome& outcome) { return std::count(outcome.error.begin(), outcome.error.end(), '\n') <= 1; }

void expect_no_repair(const std::string& file, const Bytes& bytes, Kind kind) {
  const Outcome repair = run_qv({"repair", file});
  EXPECT_EQ(repair.exit_code, kind == kForeign ? 1 : 0) << repair.out << repair.error;
  EXPECT_EQ(is_calm(repair), true) << repair.error;
  EXPECT_EQ(read_file(file) == bytes, true) << repair.out;
  write_file(file, bytes); // so that the other checks tell of their own faults
}

void expect_passing_tag(const std::string& file, const Bytes& bytes) {
  const Json texts = qv_info(file)["summary"];
  const Outcome set = run_qv({"tag", file, "ICMT=a comment of an odd length"});
  EXPECT_EQ(set.exit_code, 0) << set.error;
  if (set.exit_code != 0) return;
  EXPECT_EQ(qv_says({"tag", file}).find("an odd length") != std::string::npos, true);
  EXPECT_EQ(run_qv({"tag", file, "--remove", "ICMT"}).exit_code, 0);
  EXPECT_EQ(differences(kept_chunks(bytes, false), kept_chunks(read_file(file), false)), "");
  EXPECT_EQ(qv_info(file)["summary"], texts);
  write_file(file, bytes);
}

void expect_full_copy(const std::string& file, const Bytes& bytes, Kind kind, const std::string& copy) {
  const Outcome convert = run_qv({"convert", file, copy});
  EXPECT_EQ(convert.exit_code, 0);
  EXPECT_EQ(convert.error, "");
  if (convert.exit_code != 0) return;
  const Bytes copied = read_file(copy);
  EXPECT_EQ(copied.substr(0, 4), bytes.substr(0, 4));
  if (kind == kPlain) EXPECT_EQ(audio_of(bytes) == audio_of(copied) || decoded(file) == decoded(copy), true);
  EXPECT_EQ(differences(kept_chunks(bytes, true), kept_chunks(copied, true)), "");
  EXPECT_EQ(qv_info(copy)["summary"], qv_info(file)["summary"]);
}

TEST(Healthy, FilesOfOtherMakersComeToNoHarm) {
  const ScratchFolder folder;
  shell("sox -D /usr/share/sounds/alsa/Front_Center.wav " + folder.file("mono.wav") + " trim 20000s 1001s");
  shell("cd " + folder.path().string() + " && sox -D -M mono.wav mono.wav mono.wav mono.wav mono.wav mono.wav six.wav");
  for (const Maker& maker : kMakers) {
    SCOPED_TRACE(maker.file);
    const std::string file = folder.file(maker.file);
    make(maker, folder);
    const Bytes bytes = read_file(file);
    expect_no_repair(file, bytes, maker.kind);
    if (maker.kind == kForeign) continue;
    const Outcome info = run_qv({"info", file});
    EXPECT_EQ(info.error, "");
    if (info.exit_code != 0) continue;
    expect_passing_tag(file, bytes);
    expect_full_copy(file, bytes, maker.kind, folder.file("copy-" + std::string(maker.file)));
  }
}

} // namespace
