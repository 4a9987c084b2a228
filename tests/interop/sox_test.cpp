// qv and sox read each other's files, sample for sample.
#include "tests/interop/material.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace interop_test;
using cli_test::ScratchFolder;

namespace {

// -D: without the dither that sox adds when it narrows samples.
std::string sox_raw(const std::string& file, const SampleType& type) {
  return shell("sox -D " + file + " -t raw -L " + type.sox + " -");
}

/// A file whose samples sox, which works in 32-bit integers, holds exactly in every type of at least 24 bits.
std::string source_24(const ScratchFolder& folder) {
  std::string file = folder.file("source24.wav");
  qv({"convert", stereo_source(folder), file, "--type", "pcm24"});
  return file;
}

TEST(Sox, ReadsWhatQvWrites) {
  const ScratchFolder folder;
  const std::string source = source_24(folder);
  for (const SampleType& type : kSampleTypes) {
    SCOPED_TRACE(type.qv);
    const std::string file = folder.file("qv.wav");
    qv({"convert", source, file, "--type", type.qv});
    EXPECT_EQ(shell("soxi -r " + file), "48000\n");
    EXPECT_EQ(shell("soxi -c " + file), "2\n");
    EXPECT_EQ(shell("soxi -b " + file), std::to_string(type.bits) + "\n");
    EXPECT_EQ(sox_raw(file, type) == data_chunk(file), true);
  }
}

TEST(Sox, WritesWhatQvReads) {
  const ScratchFolder folder;
  const std::string source = source_24(folder);
  for (const SampleType& type : kSampleTypes) {
    SCOPED_TRACE(type.qv);
    const std::string file = folder.file("sox.wav");
    shell("sox -D " + source + " " + type.sox + " " + file);
    EXPECT_EQ(qv_info(file)["sample_type"], type.number);
    const std::string copy = folder.file("copy.wav");
    qv({"convert", file, copy});
    EXPECT_EQ(data_chunk(copy) == sox_raw(source, type), true);
  }
}

TEST(Sox, MeasuresTheSameLevels) {
  for (const char* name : {"Front_Center", "Noise", "Side_Left"}) {
    SCOPED_TRACE(name);
    const auto channel = nlohmann::json::parse(qv({"stats", recording(name), "--json"}))["channels"][0];
    const std::string theirs = shell("sox " + recording(name) + " -n stats 2>&1");
    const auto value = [&](const std::string& label) {
      const size_t at = theirs.find(label);
      return at == std::string::npos ? NAN : std::stod(theirs.substr(at + label.size()));
    };
    EXPECT_NEAR(channel["peak_dbfs"].get<double>(), value("Pk lev dB"), 0.0051);
    EXPECT_NEAR(channel["rms_dbfs"].get<double>(), value("RMS lev dB"), 0.0051);
    EXPECT_NEAR(channel["peak_min"].get<double>(), value("Min level"), 5.1e-7);
    EXPECT_NEAR(channel["peak_max"].get<double>(), value("Max level"), 5.1e-7);
  }
}

TEST(Sox, MixesTheSameMono) {
  // 24 bits from 16: the average of two 16-bit samples is exact in both programs.
  const ScratchFolder folder;
  shell("sox -D -M " + recording("Front_Left") + " " + recording("Rear_Right") + " " + folder.file("stereo.wav"));
  qv({"convert", folder.file("stereo.wav"), folder.file("mono.wav"), "--mono", "--type", "pcm24"});
  const std::string theirs =
      shell("sox -D " + folder.file("stereo.wav") + " -t raw -L -e signed-integer -b 24 - remix 1,2");
  EXPECT_EQ(data_chunk(folder.file("mono.wav")) == theirs, true);
}

} // namespace
