#include "tests/interop/material.h"

#include "tests/riff/riff_bytes.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdexcept>

namespace interop_test {

std::string recording(const std::string& name) { return "/usr/share/sounds/alsa/" + name + ".wav"; }

std::string stereo_source(const ScratchFolder& folder) {
  std::string file = folder.file("stereo.wav");
  shell("sox -D -M " + recording("Front_Left") + " " + recording("Rear_Right") + " -e signed-integer -b 32 " + file +
        " vol 0.7654321");
  return file;
}

std::string shell(const std::string& command) {
  const cli_test::Outcome outcome = cli_test::run({"sh", "-c", command});
  if (outcome.exit_code != 0) throw std::runtime_error(command + ": " + outcome.error);
  return outcome.out;
}

Json ffprobe(const std::string& file) {
  return Json::parse(shell("ffprobe -v error -of json -show_streams " + file))["streams"][0];
}

qv::WString wide(const std::string& name) { return std::filesystem::path(name).string<WCHAR>(); }

std::string data_chunk(const std::string& file) {
  const std::string bytes = cli_test::read_file(file);
  size_t at = 12;
  while (at + 8 <= bytes.size()) {
    const size_t size = riff_test::u32_at(bytes, at + 4);
    if (bytes.compare(at, 4, "data") == 0) return bytes.substr(at + 8, size);
    at += 8 + size + (size & 1);
  }
  throw std::runtime_error(file + " has no data chunk");
}

namespace {

template <class Number>
double read_as(const char* bytes, size_t width) {
  Number value = 0;
  std::memcpy(&value, bytes, width);
  return static_cast<double>(value);
}

double decode_integer(const char* bytes, size_t width) {
  if (width == 1) return read_as<uint8_t>(bytes, 1) - 128.0;
  const auto unused = static_cast<int>(32 - 8 * width);
  return static_cast<int32_t>(static_cast<uint32_t>(read_as<uint32_t>(bytes, width)) << unused) >> unused;
}

} // namespace

std::vector<double> decode(const SampleType& type, const std::string& bytes) {
  const auto width = static_cast<size_t>(type.bits / 8);
  std::vector<double> samples;
  for (size_t at = 0; at + width <= bytes.size(); at += width)
    samples.push_back(!type.is_float ? decode_integer(&bytes[at], width)
                      : width == 8   ? read_as<double>(&bytes[at], 8)
                                     : read_as<float>(&bytes[at], 4));
  return samples;
}

double full_scale(const SampleType& type) { return type.is_float ? 1.0 : std::ldexp(1.0, type.bits - 1); }

} // namespace interop_test
