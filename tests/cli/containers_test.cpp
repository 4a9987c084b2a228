// Containers and samples out of the ordinary: long files, sparse ones, odd widths, and what a suffix chooses.
#include "tests/cli/mp4/mp4_bytes.h"
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_layout.h"
#include "tools/qv/file/disk/disk_file.h"

#include "qv/wave_file.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace cli_test;
using qv::tool::AudioLayout;
using qv::tool::Container;
namespace fs = std::filesystem;

namespace {

constexpr uint64_t kGiB = uint64_t{1} << 30;

AudioLayout layout(Container container, uint64_t frames, bool stays_riff = false) {
  _qvwaveformat format;
  format.Init(48000, QVSAMPLE_PCM16, 2, 0, sizeof format);
  return qv::tool::layout_of("out", container, stays_riff, format, frames, {});
}

Bytes u64(uint64_t value) { return u32(static_cast<uint32_t>(value)) + u32(static_cast<uint32_t>(value >> 32)); }

TEST(Containers, RiffBecomesRf64WhereItMustAndKeepsRoomInTime) {
  const struct {
    uint64_t file_bytes; ///< as an ordinary RIFF file
    bool has_room;
    bool is_rf64;
  } cases[] = {{44, false, false},           {3 * kGiB, false, false},    {3 * kGiB + 4, true, false},
               {4 * kGiB - 40, true, false}, {4 * kGiB - 36, true, true}, {9 * kGiB, true, true}};
  const Bytes format = chunk("fmt ", format_bytes({1, 2, 48000, 16}));
  for (const auto& row : cases) {
    SCOPED_TRACE(row.file_bytes);
    const uint64_t audio = row.file_bytes - 44;
    const uint64_t bytes = row.file_bytes + (row.has_room ? 36 : 0);
    const AudioLayout made = layout(Container::kRiff, audio / 4);
    EXPECT_EQ(made.file_bytes, bytes);
    EXPECT_EQ(made.container, row.is_rf64 ? Container::kRf64 : Container::kRiff);
    Bytes front = header("RIFF", static_cast<uint32_t>(bytes - 8)) + "WAVE";
    if (row.is_rf64)
      front = header("RF64", ~0u) + "WAVE" + chunk("ds64", u64(bytes - 8) + u64(audio) + u64(audio / 4) + u32(0));
    else if (row.has_room)
      front += chunk("JUNK", Bytes(28, '\0'));
    EXPECT_EQ(made.front == front + format, true);
    EXPECT_EQ(made.audio_header == header("data", row.is_rf64 ? ~0u : static_cast<uint32_t>(audio)), true);
    if (row.is_rf64) EXPECT_THROW(layout(Container::kRiff, audio / 4, true), qv::tool::Failure);
  }
  EXPECT_THROW(layout(Container::kAiff, kGiB), qv::tool::Failure);
  EXPECT_EQ(layout(Container::kWave64, kGiB).file_bytes, 40 + 24 + 16 + 24 + 4 * kGiB);
}

TEST(Containers, ASuffixThatIsNotWrittenIsRefusedWithThoseThatAre) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", kGood);
  for (const char* command : {"convert", "filter"}) {
    const Arguments more = command[0] == 'f' ? Arguments{"--type", "lowpass"} : Arguments{};
    const std::string out = folder.file("out.mp3");
    expect_refused(run_qv({command, in, out}, more), 1, out + ": ", ".w64, .aif, .aiff, .aifc");
    EXPECT_EQ(fs::exists(out), false);
    EXPECT_EQ(run_qv({command, in, out, "--container", "aifc"}, more).exit_code, 0);
    EXPECT_EQ(qv_json({"info", out})["container"], "aifc");
    fs::remove(out);
  }
}

Bytes swapped(Bytes number) { return Bytes(number.rbegin(), number.rend()); }

/// An AIFF file of one channel at 8,000 Hz.
Bytes aiff(uint32_t bits, uint32_t frames, const Bytes& samples) {
  const auto big = [](const char* id, const Bytes& data) {
    return id + swapped(u32(static_cast<uint32_t>(data.size()))) + data;
  };
  const Bytes common =
      swapped(u16(1)) + swapped(u32(frames)) + swapped(u16(bits)) + Bytes("\x40\x0B\xFA\0\0\0\0\0\0\0", 10);
  // Two bytes in front of the samples, as its offset says.
  return big("FORM", "AIFF" + big("COMM", common) + big("SSND", swapped(u32(2)) + u32(0) + "xx" + samples));
}

TEST(Containers, BitsThatDoNotFillTheirBytesStandInTheUpperOnes) {
  const Bytes three = Bytes("\xF0\xFF\x10\0\0\x80", 6); // -1, 1 and the least of 12 bits
  const struct {
    const char* name;
    Bytes in;
    Bytes out;
  } cases[] = {
      {"12 bits", riff("WAVE", chunk("fmt ", with(format_bytes({1, 1, 8000, 16}), 14, u16(12))) + chunk("data", three)),
       wave({1, 1, 8000, 16}, three)},
      {"12 bits of AIFF", aiff(12, 3, Bytes("\xFF\xF0\0\x10\x80\0", 6)), wave({1, 1, 8000, 16}, three)},
      {"5 bits",
       riff("WAVE", chunk("fmt ", with(format_bytes({1, 1, 8000, 8}), 14, u16(5))) + chunk("data", "\x80\xF8")),
       wave({1, 1, 8000, 8}, "\x80\xF8")},
      {"40 bits: a half and the least", wave({1, 1, 8000, 40}, Bytes("\0\0\0\0\xC0\1\0\0\0\0", 10)),
       riff("WAVE", chunk("fmt ", format_bytes({3, 1, 8000, 64}) + u16(0)) + chunk("fact", u32(2)) +
                        chunk("data", u64(0xBFE0000000000000) + u64(0x3D80000000000000)))},
      {"20 bits in 24 of an extensible format",
       riff("WAVE", chunk("fmt ", with(extensible({1, 1, 8000, 24}, 1), 18, u16(20))) + chunk("data", "\x10\x20\x30")),
       wave({1, 1, 8000, 24}, "\x10\x20\x30")},
      {"20 bits in 32 of a plain format",
       riff("WAVE", chunk("fmt ", with(format_bytes({1, 1, 8000, 32}), 14, u16(20))) + chunk("data", "1234")),
       wave({1, 1, 8000, 32}, "1234")},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string out = folder.file("out.wav");
    qv_says({"convert", folder.put("in", row.in), out, "--channels", "1"}); // without a mask
    EXPECT_EQ(testing::PrintToString(read_file(out)), testing::PrintToString(row.out));
  }
}

TEST(Containers, ATornOutputIsMendedByTheLibrary) {
  const struct {
    const char* type;
    size_t audio; ///< where it starts
    DWORD limit;
    size_t kept; ///< where it starts in the end: the library's own header of PCM is longer by one sample of 16 bits
    size_t frame_bytes;
  } cases[] = {{"float32", 58, 0xFFFFFFFF, 58, 4}, {"float64", 58, 0xFFFFFFFF, 58, 8}, {"pcm16", 44, 46, 46, 2}};
  for (const auto& row : cases) {
    SCOPED_TRACE(row.type);
    const ScratchFolder folder;
    const std::string out = folder.file("out.wav");
    qv_says({"convert", folder.put("in.wav", wave({}, Bytes(50'000, 's'))), out, "--type", row.type});
    // As a crash leaves a recording: without sizes, and cut.
    const Bytes torn = with(with(read_file(out).substr(0, 30'001), 4, u32(0)), row.audio - 4, u32(0));
    write_file(out, torn);
    const qv::tool::OpenFile file = qv::tool::open_existing(out, GENERIC_READ | GENERIC_WRITE);
    EXPECT_EQ(QvFixTrashedWav(file, nullptr, row.limit), S_OK);
    EXPECT_EQ(qv_json({"info", out})["frames"], (30'001 - row.kept) / row.frame_bytes); // without a warning
    const size_t whole = (30'001 - row.kept) / row.frame_bytes * row.frame_bytes;
    EXPECT_EQ(read_file(out).substr(row.kept, whole) == torn.substr(row.kept, whole), true);
  }
}

/// The most memory that the program held while it ran, in KiB.
long memory_of(const Arguments& arguments) {
  const pid_t child = fork();
  if (child == 0) {
    std::vector<char*> words = {const_cast<char*>(QV_PROGRAM)};
    for (const std::string& word : arguments)
      words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    (void)!freopen("/dev/null", "w", stdout);
    (void)!freopen("/dev/null", "w", stderr);
    execv(words[0], words.data());
    _exit(127);
  }
  int status = 0;
  rusage usage = {};
  wait4(child, &status, 0, &usage);
  EXPECT_EQ(WIFEXITED(status) && WEXITSTATUS(status) < 2, true);
  return usage.ru_maxrss;
}

/// A movie of empty boxes.
Bytes boxes_of_nothing() {
  Bytes boxes = mp4::box("free");
  while (boxes.size() < 4 << 20)
    boxes += boxes;
  return mp4::box("moov", boxes);
}

TEST(Containers, MemoryFollowsWhatIsThere) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer's own memory is counted too";
#endif
  const Bytes format = chunk("fmt ", format_bytes({1, 64, 48000, 32}));
  const Bytes table_of_nothing = mp4::header("moov", 800 << 20) + mp4::header("trak", 800 << 20) +
                                 mp4::header("mdia", 800 << 20) + mp4::header("minf", 800 << 20) +
                                 mp4::header("stbl", 800 << 20) + mp4::header("stsz", 800 << 20);
  const Bytes endless = header("RIFF", ~0u) + "WAVE" + format + header("data", ~0u);
  const struct {
    const char* name;
    Bytes start;
    uint64_t bytes;
    Arguments command;
    long kib;
  } cases[] = {
      {"chunks of nothing",
       header("RIFF", 64 << 20) + "WAVE" + format + kData,
       64 << 20,
       {"info", "IN", "--json"},
       64 << 10},
      {"chunks of nothing in AIFF", Bytes("FORM\4\0\0\0AIFF", 12), 64 << 20, {"info", "IN"}, 16 << 10},
      {"sizes that nobody wrote", endless, 6 * kGiB, {"info", "IN", "--json"}, 16 << 10},
      {"boxes of nothing", boxes_of_nothing(), 5 << 20, {"info", "IN"}, 48 << 10},
      {"a table that nobody wrote", mp4::file_type() + table_of_nothing, 900 << 20, {"info", "IN"}, 16 << 10},
      {"64 channels", endless, 64 << 20, {"convert", "IN", "OUT", "--rate", "96000", "--type", "float64"}, 64 << 10},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const ScratchFolder folder;
    const std::string in = folder.put("in.wav", row.start);
    fs::resize_file(in, row.bytes);
    Arguments command = row.command;
    for (std::string& word : command)
      word = word == "IN" ? in : word == "OUT" ? folder.file("out.w64") : word;
    EXPECT_LT(memory_of(command), row.kib);
  }
}

TEST(Containers, Rf64HasSizesOfOtherChunksToo) {
  const ScratchFolder folder;
  const Bytes rows = u32(1) + "junk" + u64(5 * kGiB);
  const std::string in =
      folder.put("in.wav", header("RF64", ~0u) + "WAVE" + chunk("ds64", u64(5 * kGiB + 100) + u64(8) + u64(4) + rows) +
                               header("junk", ~0u));
  fs::resize_file(in, fs::file_size(in) + 5 * kGiB); // sparse
  std::ofstream(in, std::ios::binary | std::ios::app) << kFormat + header("data", ~0u) + kSamples;
  EXPECT_EQ(qv_json({"info", in})["frames"], 4);
}

TEST(Containers, ARiffFileBeyondItsSizesIsReadToItsEnd) {
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", header("RIFF", ~0u) + "WAVE" + kFormat + header("data", ~0u));
  fs::resize_file(in, 5 * kGiB);
  const Outcome outcome = run_qv({"info", in, "--json"});
  EXPECT_EQ(nlohmann::json::parse(outcome.out)["frames"], (5 * kGiB - 44) / 2);
  EXPECT_NE(outcome.error.find("to its end"), std::string::npos) << outcome.error;
}

TEST(Containers, AChunkThatLacksItsPadByteIsReadAloud) {
  const ScratchFolder folder;
  const Bytes lists = kFormat + header("JUNK", 3) + "abc" + header("data", 4) + "abcd" + header("LIST", 5) + "adtl?";
  const Outcome outcome = run_qv({"info", "--json", folder.put("in.wav", riff("WAVE", lists + chunk("fact", u32(2))))});
  Bytes places;
  const auto info = nlohmann::json::parse(outcome.out);
  for (const auto& entry : info["chunks"])
    places += entry["id"].get<Bytes>() + std::to_string(entry["offset"].get<int>()) + " ";
  EXPECT_EQ(places, "fmt 12 JUNK36 data47 LIST59 fact72 ");
  EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 2) << outcome.error;
}

} // namespace
