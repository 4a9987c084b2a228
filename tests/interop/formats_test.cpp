// Sample formats and codings beyond plain PCM and floats, as other programs write and read them.
#include "tests/cli/wave_bytes.h"
#include "tests/interop/material.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

using namespace interop_test;
using cli_test::Bytes;

namespace {

std::vector<double> doubles(const std::string& bytes) {
  std::vector<double> samples(bytes.size() / sizeof(double));
  std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(double));
  return samples;
}

using Decoder = std::vector<double> (*)(const std::string& file);

std::vector<double> by_ffmpeg(const std::string& file) {
  return doubles(shell(kFfmpeg + "-i " + file + " -f f64le -"));
}

std::vector<double> by_sox(const std::string& file) {
  return doubles(shell("sox -D " + file + " -t raw -L -e floating-point -b 64 -"));
}

/// Without what fills up the last blocks, which sox counts as audio.
std::vector<double> by_sox_without_padding(const std::string& file) {
  std::vector<double> samples = by_sox(file);
  samples.resize(qv_info(recording("Front_Center"))["frames"].get<size_t>());
  return samples;
}

std::vector<double> by_sndfile(const std::string& file) {
  SF_INFO info = {};
  SNDFILE* const in = sf_open(file.c_str(), SFM_READ, &info);
  EXPECT_NE(in, nullptr) << sf_strerror(nullptr);
  std::vector<double> samples(static_cast<size_t>(info.frames * info.channels));
  EXPECT_EQ(sf_readf_double(in, samples.data(), info.frames), info.frames);
  sf_close(in);
  return samples;
}

std::vector<double> by_qv(const std::string& file, const std::string& copy) {
  qv_says({"convert", file, copy, "--type", "float64", "--no-metadata"});
  return doubles(data_chunk(copy));
}

/// The largest difference; 2 where the lengths differ.
double distance(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size() || a.empty()) return 2.0;
  double largest = 0.0;
  for (size_t k = 0; k < a.size(); ++k)
    largest = std::max(largest, std::fabs(a[k] - b[k]));
  return largest;
}

struct Made {
  const char* name;
  const char* container;
  std::string command; ///< IN and OUT stand for the files
  Decoder decoder;
  double tolerance = 0.0;
};

std::string with_files(std::string command, const std::string& in, const std::string& out) {
  for (const auto& [word, file] : {std::pair("IN", in), std::pair("OUT", out)})
    command.replace(command.find(word), std::strlen(word), file);
  return command;
}

TEST(Formats, WhatOthersWriteQvReads) {
  const std::string ffmpeg = kFfmpeg + "-i IN -c:a ";
  const Made rows[] = {
      {"r8.wav", "RIFX", "sox -D IN -B -b 8 OUT", by_sox},
      {"r16.wav", "RIFX", "sox IN -B OUT", by_sox},
      {"r24.wav", "RIFX", "sox IN -B -b 24 OUT", by_sox},
      {"rf.wav", "RIFX", "sox IN -B -e floating-point -b 32 OUT", by_sox},
      {"a.wav", "RIFF", "sox IN -e a-law OUT", by_ffmpeg},
      {"u.wav", "RIFF", "sox IN -e mu-law OUT", by_ffmpeg},
      {"a.w64", "wave64", "sndfile-convert -alaw IN OUT >&2", by_sndfile},
      {"a.aifc", "aifc", ffmpeg + "pcm_alaw OUT", by_ffmpeg},
      {"u.aifc", "aifc", "sndfile-convert -ulaw IN OUT >&2", by_sndfile},
      {"ms.wav", "RIFF", ffmpeg + "adpcm_ms OUT", by_sndfile},
      {"ima.wav", "RIFF", "sndfile-convert -ima-adpcm IN OUT >&2", by_sox},
      {"gsm.wav", "RIFF", "sox -D IN -e gsm-full-rate OUT", by_sox_without_padding},
      {"f.flac", "FLAC", "flac --silent -o OUT IN", by_ffmpeg},
      {"piped.flac", "FLAC", ffmpeg + "flac -f flac - | cat >OUT", by_ffmpeg}, // whose length nobody wrote down
      {"f24.flac", "FLAC", "sox IN -b 24 OUT gain -0.1", by_ffmpeg},
      {"v.ogg", "Ogg", ffmpeg + "libvorbis OUT", by_ffmpeg, 1e-4},
      {"m.mp3", "MP3", ffmpeg + "libmp3lame OUT", by_ffmpeg, 1e-4},
  };
  const ScratchFolder folder;
  for (const Made& row : rows) {
    const std::string file = folder.file(row.name);
    SCOPED_TRACE(row.name);
    shell(with_files(row.command, recording("Front_Center"), file));
    const Json info = qv_info(file);
    EXPECT_EQ(info["container"], row.container);
    EXPECT_EQ(info["format_text"].get<std::string>().find("Unknown"), std::string::npos) << info["format_text"];
    const std::vector<double> read = by_qv(file, folder.file("copy.wav"));
    EXPECT_LE(distance(read, row.decoder(file)), row.tolerance);
    const bool has_count = std::string(row.name) != "ms.wav"; // its "fact" chunk counts what its last block pads
    if (has_count) EXPECT_EQ(info["frames"], read.size());
  }
}

/// A recording's samples behind another header: what the readers of others make of it.
TEST(Formats, HeadersOfOthersAreTakenAsTheyTakeThem) {
  using namespace cli_test;
  const Bytes samples = data_chunk(recording("Front_Center")).substr(0, 60'000);
  const Bytes plain = wave({1, 1, 48000, 16}, samples);
  Bytes in_32;
  for (size_t k = 0; k + 3 <= samples.size(); k += 3)
    in_32 += '\0' + samples.substr(k, 3);
  const auto wide = [&](uint32_t valid) {
    return riff("WAVE", chunk("fmt ", with(extensible({1, 1, 48000, 32}, 4), 18, u16(valid))) + chunk("data", in_32));
  };
  const ScratchFolder folder;
  const std::string rf64 = folder.file("rf64.wav");
  shell(kFfmpeg + "-i " + recording("Front_Center") + " -rf64 always " + rf64);
  const struct {
    const char* name;
    Bytes bytes;
    Decoder decoder;
  } rows[] = {
      {"24 bits in 32", wide(24), by_sndfile},
      {"20 bits in 32", wide(20), by_sndfile},
      {"ID3 in front", Bytes("ID3\3\0\0\0\0\0\x14", 10) + Bytes(20, '\0') + plain, by_ffmpeg},
      {"BW64", with(read_file(rf64), 0, "BW64"), by_ffmpeg},
      {"64 bits", wave({1, 1, 48000, 64}, in_32.substr(0, 48'000)), by_ffmpeg},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string file = folder.put("file.wav", row.bytes);
    EXPECT_EQ(distance(by_qv(file, folder.file("copy.wav")), row.decoder(file)), 0.0);
  }
}

TEST(Formats, WhatQvEncodesOthersDecode) {
  const ScratchFolder folder;
  const struct {
    const char* name;
    const char* type;
    double tolerance;
  } rows[] = {{"o.flac", "pcm8", 0.0}, {"o.flac", "pcm16", 0.0}, {"o.flac", "pcm24", 0.0}, {"o.ogg", "float32", 0.1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.name) + " of " + row.type);
    const std::string source = stereo_source(folder);
    const std::string file = folder.file(row.name);
    qv_says({"convert", source, file, "--type", row.type});
    if (file.ends_with("flac")) shell("flac --silent --test " + file);
    qv_says({"convert", source, folder.file("type.wav"), "--type", row.type});
    const std::vector<double> expected = by_qv(folder.file("type.wav"), folder.file("copy.wav"));
    for (const Decoder decoder : {by_ffmpeg, by_sndfile})
      EXPECT_LE(distance(decoder(file), expected), row.tolerance);
    EXPECT_LE(distance(by_qv(file, folder.file("copy.wav")), expected), row.tolerance);
  }
}

TEST(Formats, ACutFlacFileIsReadAsFarAsItGoes) {
  const ScratchFolder folder;
  shell("flac --silent -o " + folder.file("whole.flac") + " " + recording("Front_Center"));
  const std::string file = folder.put("cut.flac", cli_test::read_file(folder.file("whole.flac")).substr(0, 40'000));
  const cli_test::Outcome outcome = cli_test::run_qv({"convert", file, folder.file("out.wav")});
  expect_refused(outcome, 0, file + ": warning: ", "more frames than can be decoded");
  const std::string samples = data_chunk(folder.file("out.wav"));
  EXPECT_GT(samples.size(), 60'000u);
  EXPECT_EQ(data_chunk(recording("Front_Center")).starts_with(samples), true);
}

} // namespace
