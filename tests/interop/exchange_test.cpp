// qv and other people's programs read each other's files, sample for sample: every type of samples in every container.
#include "tests/interop/material.h"

#include "qv/wave_file.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace interop_test;

namespace {

constexpr int kFrames = 5001;

/// Recordings in samples of 32 bits, every one of which is in use, or of 24, which sox holds exactly in floats.
std::string source(const ScratchFolder& folder, const std::string& bits, const std::string& channels) {
  std::string file = folder.file("source.wav");
  shell("sox -D " + stereo_source(folder) + " -b " + bits + " " + file + " remix " + channels + " trim 2000s " +
        std::to_string(kFrames) + "s");
  return file;
}

std::string ffmpeg_raw(const std::string& file, const SampleType& type) {
  return shell(kFfmpeg + "-i " + file + " -c:a " + type.ffmpeg + " -f " + type.ffmpeg_raw + " -");
}

void write_by_sndfile(const std::string& file, int format, const std::vector<double>& samples) {
  SF_INFO info = {};
  info.channels = 3;
  info.samplerate = 48'000;
  info.format = format;
  SNDFILE* const out = sf_open(file.c_str(), SFM_WRITE, &info);
  ASSERT_NE(out, nullptr) << sf_strerror(nullptr);
  sf_command(out, SFC_SET_NORM_DOUBLE, nullptr, SF_FALSE);
  const auto count = static_cast<sf_count_t>(samples.size());
  EXPECT_EQ(sf_write_double(out, samples.data(), count), count);
  EXPECT_EQ(sf_close(out), 0);
}

struct Writer {
  std::string command; ///< with the file's name at its end; none for libsndfile
  const char* name;
  const char* container;
  const char* first_chunk;
  int sndfile = 0; ///< its container
};

std::vector<Writer> writers_of(const SampleType& type, const std::string& in) {
  const std::string sox = "sox -D " + in + " ";
  const std::string ffmpeg = kFfmpeg + "-i " + in + " -c:a ";
  const std::string bits = std::to_string(type.bits);
  std::vector<Writer> writers = {{ffmpeg + type.ffmpeg + " ", "f.wav", "RIFF", "fmt "},
                                 {ffmpeg + type.ffmpeg + " ", "f.w64", "wave64", "fmt "},
                                 {sox + type.sox + " ", "s.wav", "RIFF", "fmt "},
                                 {"", "n.wav", "RIFF", "fmt ", SF_FORMAT_WAV},
                                 {"", "x.wav", "RIFF", "fmt ", SF_FORMAT_WAVEX},
                                 {"", "n.w64", "wave64", "fmt ", SF_FORMAT_W64},
                                 {"", "n.rf64", "RF64", "ds64", SF_FORMAT_RF64},
                                 {ffmpeg + type.ffmpeg + " -rf64 always ", "r.wav", "RF64", "ds64"}};
  if (type.is_float) { // sox has no Wave64 of floats
    writers.push_back({ffmpeg + "pcm_f" + bits + "be ", "f.aifc", "aifc", "FVER"});
    writers.push_back({"", "n.aifc", "aifc", "FVER", SF_FORMAT_AIFF});
    return writers;
  }
  writers.push_back({sox + type.sox + " ", "s.w64", "wave64", "fmt "});
  writers.push_back({sox + "-b " + bits + " ", "s.aiff", "aiff", "COMT"});
  writers.push_back({sox + "-b " + bits + " ", "s.aifc", "aifc", "FVER"});
  writers.push_back({ffmpeg + "pcm_s" + bits + (type.bits == 8 ? " " : "be "), "f.aiff", "aiff", "CHAN"});
  if (type.bits == 16) writers.push_back({ffmpeg + "pcm_s16le ", "sowt.aiff", "aifc", "FVER"});
  if (type.bits > 16)
    writers.push_back({ffmpeg + "pcm_s" + bits + "be -tag:a in" + bits + " ", "in.aifc", "aifc", "FVER"});
  return writers;
}

TEST(Exchange, WhatOthersWriteQvReads) {
  const ScratchFolder folder;
  const std::string in = source(folder, "32", "1 2 1"); // so that samples of 8 and 24 bits need padding
  for (const SampleType& type : kSampleTypes) {
    const std::string same_type = folder.file("type.wav");
    qv_says({"convert", in, same_type, "--type", type.qv});
    for (const Writer& writer : writers_of(type, in)) {
      const std::string file = folder.file(writer.name);
      SCOPED_TRACE(std::string(type.qv) + ": " + writer.command + file);
      if (writer.sndfile == 0)
        shell(writer.command + file);
      else
        write_by_sndfile(file, writer.sndfile | type.sndfile, decode(type, data_chunk(same_type)));
      const Json info = qv_info(file);
      EXPECT_EQ(info["container"], writer.container);
      EXPECT_EQ(info["chunks"][0]["id"], writer.first_chunk);
      EXPECT_EQ(info["bits"], type.bits);
      EXPECT_EQ(info["sample_rate"], 48'000);
      EXPECT_EQ(info["channels"], 3);
      const bool is_known_aiff = !type.is_float && !file.ends_with("in.aifc"); // to the library
      if (is_known_aiff)
        EXPECT_EQ(QvFileIsAiff(wide(file).c_str()), info["container"].get<std::string>().starts_with("aif"));
      EXPECT_EQ(QvFileIsWave64(wide(file).c_str()), info["container"] == "wave64");
      const std::string copy = folder.file("copy.wav");
      qv_says({"convert", file, copy, "--no-metadata"});
      EXPECT_EQ(qv_info(copy)["sample_type"], type.number);
      const std::string raw = ffmpeg_raw(file, type);
      EXPECT_GE(raw.size(), size_t{kFrames} * 3 * static_cast<size_t>(type.bits) / 8);
      EXPECT_EQ(data_chunk(copy) == raw, true);
      // And as numbers: doubles hold every sample exactly.
      qv_says({"convert", file, copy, "--type", "float64", "--no-metadata"});
      std::vector<double> expected = decode(type, raw);
      for (double& sample : expected)
        sample /= full_scale(type);
      EXPECT_EQ(decode(kSampleTypes[5], data_chunk(copy)) == expected, true);
    }
  }
}

/// libsndfile reads those samples, in their own scale, and finds no fault with the header.
void expect_read_by_sndfile(const std::string& file, int subtype, const std::vector<double>& expected) {
  SF_INFO info = {};
  SNDFILE* const in = sf_open(file.c_str(), SFM_READ, &info);
  ASSERT_NE(in, nullptr) << sf_strerror(nullptr);
  EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, subtype);
  EXPECT_EQ(info.samplerate, 48'000);
  EXPECT_EQ(info.channels, 2);
  sf_command(in, SFC_SET_NORM_DOUBLE, nullptr, SF_FALSE);
  std::vector<double> samples(static_cast<size_t>(info.frames * info.channels));
  EXPECT_EQ(sf_readf_double(in, samples.data(), info.frames), info.frames);
  // libsndfile counts the padding of a Wave64 chunk as audio.
  EXPECT_LE(samples.size(), expected.size() + (file.ends_with("64") ? 7 : 0));
  samples.resize(std::min(samples.size(), expected.size()));
  EXPECT_EQ(samples == expected, true);
  char log[16384] = {};
  sf_command(in, SFC_GET_LOG_INFO, log, sizeof log);
  EXPECT_EQ(std::string(log).find("should be"), std::string::npos) << "libsndfile finds fault:\n" << log;
  sf_close(in);
}

/// What ffmpeg calls the samples of a type in AIFF files.
std::string big_endian_codec(const SampleType& type) {
  std::string name = type.bits == 8 ? "pcm_s8" : type.ffmpeg;
  if (name.ends_with("le")) name.replace(name.size() - 2, 2, "be");
  return name;
}

TEST(Exchange, WhatQvWritesOthersRead) {
  const ScratchFolder folder;
  for (const SampleType& type : kSampleTypes) {
    const std::string in = source(folder, type.is_float ? "24" : "32", "1 2");
    qv_says({"convert", in, folder.file("samples.wav"), "--type", type.qv});
    const std::string samples = data_chunk(folder.file("samples.wav"));
    const struct {
      const char* name;
      const char* container;
    } outputs[] = {{"out.wav", "RIFF"},
                   {"out.w64", "wave64"},
                   {"out.rf64", "RF64"},
                   {"out.aiff", type.is_float ? "aifc" : "aiff"},
                   {"out.aifc", "aifc"}};
    for (const auto& output : outputs) {
      SCOPED_TRACE(std::string(type.qv) + " in " + output.name);
      const std::string file = folder.file(output.name);
      qv_says({"convert", in, file, "--type", type.qv});
      const bool is_wave64 = file.ends_with("w64");
      const bool is_aiff = file.find(".aif") != std::string::npos;
      EXPECT_EQ(qv_info(file)["container"], output.container);
      EXPECT_EQ(qv_info(file)["frames"], kFrames);
      qv_says({"convert", file, folder.file("back.wav")});
      EXPECT_EQ(data_chunk(folder.file("back.wav")) == samples, true);

      const Json stream = ffprobe(file);
      EXPECT_EQ(stream["codec_name"], is_aiff ? big_endian_codec(type) : type.ffmpeg);
      EXPECT_EQ(stream["sample_rate"], "48000");
      EXPECT_EQ(stream["channels"], 2);
      if (!is_wave64) EXPECT_EQ(stream["duration_ts"], kFrames); // there it counts the padding
      EXPECT_EQ(ffmpeg_raw(file, type) == samples, true);
      const bool is_signed_byte = is_aiff && type.bits == 8;
      expect_read_by_sndfile(file, is_signed_byte ? SF_FORMAT_PCM_S8 : type.sndfile, decode(type, samples));

      if (is_wave64 && type.is_float) continue; // which sox misreads
      EXPECT_EQ(shell("soxi -r " + file), "48000\n");
      EXPECT_EQ(shell("soxi -c " + file), "2\n");
      EXPECT_EQ(shell("soxi -b " + file), std::to_string(type.bits) + "\n");
      const std::string by_sox = shell("sox -D " + file + " -t raw -L " + type.sox + " -");
      EXPECT_EQ(by_sox.substr(0, samples.size()) == samples, true);
      EXPECT_LE(by_sox.size(), samples.size() + (is_wave64 ? 7 : 0)) << "sox counts a chunk's padding as audio";
    }
  }
}

TEST(Exchange, WhatOthersStreamedIsReadWhole) {
  // Into a pipe, with sizes that their writer could not know.
  const std::string original = recording("Front_Center");
  for (const std::string& command :
       {kFfmpeg + "-i " + original + " -f wav - | cat > ",
        "sox " + original + " -t raw - | sox -t raw -r 48000 -c 1 -b 16 -e signed - -t wav - 2>/dev/null | cat > "}) {
    SCOPED_TRACE(command);
    const ScratchFolder folder;
    const std::string file = folder.file("streamed.wav");
    shell(command + file);
    const cli_test::Outcome info = cli_test::run_qv({"info", file, "--json"});
    EXPECT_NE(info.error.find("warning"), std::string::npos) << info.error;
    EXPECT_EQ(Json::parse(info.out)["frames"], qv_info(original)["frames"]);
    EXPECT_EQ(cli_test::run_qv({"convert", file, folder.file("out.wav")}).exit_code, 0);
    EXPECT_EQ(data_chunk(folder.file("out.wav")) == data_chunk(original), true);
  }
}

} // namespace
