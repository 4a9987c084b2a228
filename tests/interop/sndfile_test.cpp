// qv and libsndfile read each other's files, sample for sample.
#include "tests/interop/material.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace interop_test;
using cli_test::ScratchFolder;

namespace {

/// Samples as libsndfile reads them: integers in their own scale.
std::vector<double> read_all(SNDFILE* file, const SF_INFO& info) {
  sf_command(file, SFC_SET_NORM_DOUBLE, nullptr, SF_FALSE);
  std::vector<double> samples(static_cast<size_t>(info.frames * info.channels));
  EXPECT_EQ(sf_readf_double(file, samples.data(), info.frames), info.frames);
  return samples;
}

void write_all(const std::string& path, const SampleType& type, int container, const std::vector<double>& samples) {
  SF_INFO info = {};
  info.channels = 2;
  info.samplerate = 44100;
  info.format = container | type.sndfile;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
  sf_command(file, SFC_SET_NORM_DOUBLE, nullptr, SF_FALSE);
  const auto count = static_cast<sf_count_t>(samples.size());
  EXPECT_EQ(sf_write_double(file, samples.data(), count), count);
  EXPECT_EQ(sf_close(file), 0);
}

TEST(Sndfile, ReadsWhatQvWrites) {
  const ScratchFolder folder;
  const std::string source = stereo_source(folder);
  for (const SampleType& type : kSampleTypes) {
    SCOPED_TRACE(type.qv);
    const std::string wave = folder.file("qv.wav");
    const std::string wave64 = folder.file("qv.w64");
    qv({"convert", source, wave, "--type", type.qv});
    qv({"convert", source, wave64, "--type", type.qv});
    for (const std::string& path : {wave, wave64}) {
      SF_INFO info = {};
      SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
      ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
      EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, type.sndfile);
      EXPECT_EQ(info.samplerate, 48000);
      EXPECT_EQ(info.channels, 2);
      std::vector<double> samples = read_all(file, info);
      const std::vector<double> expected = decode(type, data_chunk(wave));
      // libsndfile counts the padding of a Wave64 chunk as audio.
      EXPECT_LE(samples.size(), expected.size() + (path == wave64 ? 7 : 0));
      samples.resize(std::min(samples.size(), expected.size()));
      EXPECT_EQ(samples == expected, true);
      char log[16384] = {};
      sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
      EXPECT_EQ(std::string(log).find("should be"), std::string::npos) << "libsndfile finds fault:\n" << log;
      sf_close(file);
    }
  }
}

TEST(Sndfile, WritesWhatQvReads) {
  const ScratchFolder folder;
  const std::string source = stereo_source(folder);
  for (const SampleType& type : kSampleTypes) {
    for (const int container : {SF_FORMAT_WAV, SF_FORMAT_WAVEX, SF_FORMAT_W64}) {
      SCOPED_TRACE(testing::Message() << type.qv << " in " << std::hex << container);
      const std::string same_type = folder.file("type.wav");
      qv({"convert", source, same_type, "--type", type.qv});
      const std::vector<double> samples = decode(type, data_chunk(same_type));
      const std::string path = folder.file("sndfile.wav");
      write_all(path, type, container, samples);
      EXPECT_EQ(qv_info(path)["sample_type"], type.number);
      EXPECT_EQ(qv_info(path)["sample_rate"], 44100);
      const std::string copy = folder.file("copy.wav");
      qv({"convert", path, copy});
      EXPECT_EQ(decode(type, data_chunk(copy)) == samples, true);
    }
  }
}

} // namespace
