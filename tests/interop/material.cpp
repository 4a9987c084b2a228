#include "tests/interop/material.h"

#include "tests/cli/process.h"
#include "tests/riff/riff_bytes.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>

namespace interop_test {

std::string recording(const std::string& name) { return "/usr/share/sounds/alsa/" + name + ".wav"; }

std::string stereo_source(const cli_test::ScratchFolder& folder) {
  std::string file = folder.file("source.wav");
  shell("sox -D -M " + recording("Front_Left") + " " + recording("Rear_Right") + " -e signed-integer -b 32 " + file +
        " vol 0.7654321");
  return file;
}

std::string shell(const std::string& command) {
  const cli_test::Outcome outcome = cli_test::run({"sh", "-c", command});
  if (outcome.exit_code != 0) throw std::runtime_error(command + ": " + outcome.error);
  return outcome.out;
}

std::string qv(const std::vector<std::string>& arguments) {
  const cli_test::Outcome outcome = cli_test::run_qv(arguments);
  if (outcome.exit_code != 0 || !outcome.error.empty())
    throw std::runtime_error("qv " + arguments[0] + ": " + outcome.error);
  return outcome.out;
}

nlohmann::json qv_info(const std::string& file) { return nlohmann::json::parse(qv({"info", file, "--json"})); }

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

double decode_integer(const char* bytes, int width) {
  uint32_t value = 0;
  std::memcpy(&value, bytes, static_cast<size_t>(width));
  if (width == 1) return static_cast<double>(value) - 128.0;
  const int unused = 32 - 8 * width;
  return static_cast<int32_t>(value << unused) >> unused;
}

double decode_float(const char* bytes, int width) {
  float single = 0;
  double twice = 0;
  if (width == 8) return std::memcpy(&twice, bytes, 8), twice;
  return std::memcpy(&single, bytes, 4), single;
}

} // namespace

std::vector<double> decode(const SampleType& type, const std::string& bytes) {
  const int width = type.bits / 8;
  std::vector<double> samples;
  for (size_t at = 0; at + static_cast<size_t>(width) <= bytes.size(); at += static_cast<size_t>(width))
    samples.push_back(type.is_float ? decode_float(&bytes[at], width) : decode_integer(&bytes[at], width));
  return samples;
}

double full_scale(const SampleType& type) { return type.is_float ? 1.0 : std::ldexp(1.0, type.bits - 1); }

} // namespace interop_test
