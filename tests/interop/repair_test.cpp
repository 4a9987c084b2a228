// Recordings that were broken, and such as their writer was killed at: after `qv repair` other programs read them, and
// the audio is what was there.
#include "tests/cli/process.h"
#include "tests/interop/material.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

using namespace interop_test;
using cli_test::ScratchFolder;
namespace fs = std::filesystem;

namespace {

const std::string kFfmpeg = "ffmpeg -v error -nostdin -y ";

std::string zeros(size_t count) { return std::string(count, '\0'); }

/// Overwrites the header of a file whose audio starts at `audio`, and only that.
struct Damage {
  const char* name;
  std::function<void(std::string& file, size_t audio)> inflict;
};

void put(std::string& file, size_t at, const std::string& bytes) { file.replace(at, bytes.size(), bytes); }

const Damage kRiffDamages[] = {
    {"sizes of 0", [](std::string& file, size_t audio) { put(file, 4, zeros(4)), put(file, audio - 4, zeros(4)); }},
    {"sizes unknown",
     [](std::string& file, size_t audio) {
       put(file, 4, "\xFF\xFF\xFF\xFF");
       put(file, audio - 4, "\xFF\xFF\xFF\xFF");
     }},
    {"no channels, no rate, 12 bits", [](std::string& file, size_t) { put(file, 22, zeros(12) + "\x0C"); }},
    {"format record", [](std::string& file, size_t) { put(file, 20, std::string(16, '\xFF')); }},
    {"file header", [](std::string& file, size_t) { put(file, 0, zeros(12)); }},
    {"id of the format", [](std::string& file, size_t) { put(file, 12, zeros(4)); }},
    {"id of the audio", [](std::string& file, size_t audio) { put(file, audio - 8, zeros(4)); }},
    {"all before the audio's header", [](std::string& file, size_t audio) { put(file, 0, zeros(audio - 8)); }},
};
const Damage kWave64Damages[] = {
    {"sizes of 0", [](std::string& file, size_t audio) { put(file, 16, zeros(8)), put(file, audio - 8, zeros(8)); }},
    {"format record", [](std::string& file, size_t) { put(file, 64, std::string(16, '\xFF')); }},
    {"file header", [](std::string& file, size_t) { put(file, 0, zeros(40)); }},
    {"all before the audio's header", [](std::string& file, size_t audio) { put(file, 0, zeros(audio - 24)); }},
};

TEST(Repair, BrokenRecordingsAreReadByOthers) {
  const ScratchFolder folder;
  const std::string in = recording("Front_Center");
  const std::string raw = data_chunk(in);
  const struct {
    std::string command;
    const char* name;
  } writers[] = {{"cp " + in + " ", "plain.wav"},
                 {kFfmpeg + "-i " + in + " -metadata title=T ", "listed.wav"},
                 {"sox " + in + " ", "sox.wav"},
                 {"sox " + in + " ", "sox.w64"},
                 {kFfmpeg + "-i " + in + " ", "ffmpeg.w64"}};
  for (const auto& writer : writers) {
    const std::string file = folder.file(writer.name);
    shell(writer.command + file);
    const std::string whole = cli_test::read_file(file);
    const size_t audio = whole.find(raw);
    ASSERT_NE(audio, std::string::npos);
    const bool is_wave64 = file.back() == '4';
    const Damage* const first = is_wave64 ? std::begin(kWave64Damages) : std::begin(kRiffDamages);
    const Damage* const last = is_wave64 ? std::end(kWave64Damages) : std::end(kRiffDamages);
    for (const Damage* damage = first; damage != last; ++damage) {
      SCOPED_TRACE(testing::Message() << writer.name << ": " << damage->name);
      std::string broken = whole;
      damage->inflict(broken, audio);
      cli_test::write_file(file, broken);
      qv({"repair", file, "--rate", "48000", "--channels", "1"});
      const std::string by_ffmpeg = shell(kFfmpeg + "-i " + file + " -f s16le -");
      EXPECT_EQ(by_ffmpeg.substr(0, raw.size()) == raw, true);
      EXPECT_LE(by_ffmpeg.size(), raw.size() + 7) << "Wave64's padding";
      EXPECT_EQ(shell("sox " + file + " -t raw -").substr(0, raw.size()) == raw, true);
      EXPECT_EQ(shell("soxi -r " + file), "48000\n");
    }
  }
}

/// Waits for a file of that length.
bool grows(const std::function<uint64_t()>& bytes, uint64_t wanted) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (bytes() < wanted) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::yield();
  }
  return true;
}

uint64_t size_or_zero(const fs::path& path) {
  std::error_code error;
  const uintmax_t size = fs::file_size(path, error);
  return error ? 0 : size;
}

TEST(Repair, WhatAKilledFfmpegLeft) {
  const std::string raw = data_chunk(recording("Front_Center"));
  for (const char* name : {"out.wav", "out.w64"}) {
    SCOPED_TRACE(name);
    const ScratchFolder folder;
    const std::string pipe = folder.file("pipe");
    const std::string file = folder.file(name);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    cli_test::Process ffmpeg({"ffmpeg", "-v", "error", "-nostdin", "-f", "s16le", "-ar", "48000", "-ac", "1", "-i",
                              pipe, "-metadata", "title=T", "-flush_packets", "1", file});
    std::ofstream feed(pipe, std::ios::binary);
    feed << raw << std::flush; // and no end of the file
    ASSERT_TRUE(grows([&] { return size_or_zero(file); }, 60'000));
    kill(ffmpeg.id(), SIGKILL);
    EXPECT_EQ(ffmpeg.wait().signal, SIGKILL);
    const std::string before = cli_test::read_file(file);
    const size_t audio = before.find(raw.substr(0, 1000));
    ASSERT_NE(audio, std::string::npos);
    const std::string kept = before.substr(audio, (before.size() - audio) / 2 * 2);
    qv({"repair", file});
    EXPECT_EQ(cli_test::read_file(file).substr(audio, kept.size()) == kept, true);
    EXPECT_EQ(shell(kFfmpeg + "-i " + file + " -f s16le -") == kept, true);
    EXPECT_EQ(shell("sox " + file + " -t raw -") == kept, true);
  }
}

TEST(Repair, WhatAKilledConversionLeft) {
  const std::string in = recording("Front_Center");
  for (const char* name : {"out.wav", "out.w64"}) {
    SCOPED_TRACE(name);
    const ScratchFolder folder;
    const fs::path work = folder.path() / "work";
    fs::create_directory(work);
    // A recording with silence behind it, sparse, that is not done before the program is killed.
    const uint32_t bytes = 1'000'000'000;
    std::string whole = cli_test::read_file(in);
    for (size_t k = 0; k < 4; ++k)
      whole[40 + k] = static_cast<char>(bytes >> 8 * k);
    const std::string source = folder.put("source.wav", whole);
    fs::resize_file(source, bytes + 44);
    cli_test::Process process({QV_PROGRAM, "convert", source, (work / name).string(), "--type", "pcm24"});
    const auto left = [&] { return fs::is_empty(work) ? fs::path() : fs::directory_iterator(work)->path(); };
    ASSERT_TRUE(grows([&] { return size_or_zero(left()); }, 1'000'000));
    kill(process.id(), SIGKILL);
    EXPECT_EQ(process.wait().signal, SIGKILL);
    const std::string file = (work / name).string();
    fs::rename(left(), file);
    fs::resize_file(file, 1'000'000); // what was written behind that is silence
    qv({"repair", file});
    const std::string reference = folder.file("reference.wav");
    qv({"convert", in, reference, "--type", "pcm24"});
    const std::string audio = data_chunk(reference);
    const std::string by_ffmpeg = shell(kFfmpeg + "-i " + file + " -f s24le -c:a pcm_s24le -");
    EXPECT_EQ(by_ffmpeg.substr(0, audio.size()) == audio, true);
    const size_t header = cli_test::read_file(file).find(audio.substr(0, 1000));
    EXPECT_EQ(by_ffmpeg.size(), (1'000'000 - header) / 3 * 3);
    EXPECT_EQ(shell("sox " + file + " -t raw -") == by_ffmpeg, true);
  }
}

TEST(Wave64, Over4GiB) {
  const ScratchFolder folder;
  const std::string file = folder.file("large.w64");
  qv({"convert", recording("Front_Center"), file});
  const uint64_t bytes = 5'000'000'000;
  fs::resize_file(file, 104 + bytes);
  // The sizes are those of a short file: mended they are those of a long one.
  qv({"repair", file});
  EXPECT_EQ(qv_info(file)["frames"], bytes / 2);
  EXPECT_EQ(shell("soxi -s " + file), std::to_string(bytes / 2) + "\n");
  const std::string probe = shell("ffprobe -v error -of csv=p=0 -show_entries stream=duration_ts " + file);
  EXPECT_EQ(std::stoull(probe), bytes / 2);
  // Too long for a wave file; the last samples are read where they are.
  EXPECT_EQ(cli_test::run_qv({"convert", file, folder.file("out.wav")}).exit_code, 1);
  EXPECT_EQ(fs::exists(folder.file("out.wav")), false);
}

} // namespace
