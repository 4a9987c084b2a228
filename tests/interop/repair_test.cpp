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
namespace fs = std::filesystem;

namespace {

/// Bytes before the audio are filled with others; a negative place is counted from the audio, and what begins at 0 ends
/// before the header of the audio.
struct Damage {
  const char* name;
  std::vector<std::pair<int, size_t>> places; ///< where, and how many
  char fill = 0;
};

const std::vector<Damage> kRiffDamages = {
    {"sizes of 0", {{4, 4}, {-4, 4}}},    {"sizes unknown", {{4, 4}, {-4, 4}}, '\xFF'},
    {"no channels, no rate", {{22, 12}}}, {"format record", {{20, 16}}, '\xFF'},
    {"file header", {{0, 12}}},           {"id of the format", {{12, 4}}},
    {"id of the audio", {{-8, 4}}},       {"all before the audio's header", {{0, 1000}}},
};
const std::vector<Damage> kWave64Damages = {
    {"sizes of 0", {{16, 8}, {-8, 8}}},
    {"format record", {{64, 16}}, '\xFF'},
    {"file header", {{0, 40}}},
    {"all before the audio's header", {{0, 1000}}},
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
    const size_t header = is_wave64 ? 24 : 8; // of the audio
    for (const Damage& damage : is_wave64 ? kWave64Damages : kRiffDamages) {
      SCOPED_TRACE(testing::Message() << writer.name << ": " << damage.name);
      std::string broken = whole;
      for (const auto& [at, count] : damage.places) {
        const size_t start = at < 0 ? audio - static_cast<size_t>(-at) : static_cast<size_t>(at);
        for (size_t k = start; k < start + count && (at != 0 || k < audio - header); ++k)
          broken[k] = damage.fill;
      }
      cli_test::write_file(file, broken);
      qv_says({"repair", file, "--no-undo", "--rate", "48000", "--channels", "1"});
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
    qv_says({"repair", file});
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
    qv_says({"repair", file});
    const std::string reference = folder.file("reference.wav");
    qv_says({"convert", in, reference, "--type", "pcm24"});
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
  qv_says({"convert", recording("Front_Center"), file});
  const uint64_t bytes = 5'000'000'000;
  fs::resize_file(file, 104 + bytes);
  // The sizes are those of a short file: mended they are those of a long one.
  qv_says({"repair", file});
  EXPECT_EQ(qv_info(file)["frames"], bytes / 2);
  EXPECT_EQ(shell("soxi -s " + file), std::to_string(bytes / 2) + "\n");
  const std::string probe = shell("ffprobe -v error -of csv=p=0 -show_entries stream=duration_ts " + file);
  EXPECT_EQ(std::stoull(probe), bytes / 2);
  // Too long for a RIFF file.
  EXPECT_EQ(cli_test::run_qv({"convert", "--no-rf64", file, folder.file("out.wav")}).exit_code, 1);
  EXPECT_EQ(fs::exists(folder.file("out.wav")), false);
}

} // namespace
