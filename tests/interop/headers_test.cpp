// AIFF and Wave64 files of sox and ffmpeg, described.
#include "tests/interop/material.h"

#include "qv/iff.h"
#include "qv/riff.h"
#include "qv/riff64.h"
#include "qv/wave_file.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace interop_test;
using cli_test::ScratchFolder;

namespace {

/// Closes it at the end.
class OpenFile {
public:
  explicit OpenFile(const std::string& name)
      : handle_(CreateFileW(wide(name).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            0, nullptr)) {}
  ~OpenFile() { CloseHandle(handle_); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  operator HANDLE() const { return handle_; }
  static qv::WString wide(const std::string& name) { return std::filesystem::path(name).string<WCHAR>(); }

private:
  HANDLE handle_;
};

TEST(Aiff, OfOtherPrograms) {
  const ScratchFolder folder;
  struct Case {
    std::string command; ///< with the file's name at its end
    const char* extension;
    WORD tag, bits;
  };
  const std::string in = recording("Front_Center");
  const Case cases[] = {
      {"sox " + in + " -b 16 ", "aiff", 0xFE02, 16},
      {"sox " + in + " -b 24 ", "aiff", 0xFE02, 24},
      {"sox " + in + " -b 8 ", "aiff", 0xFE01, 8},
      {"sox " + in + " -b 16 ", "aifc", 0xFE02, 16},
      {"ffmpeg -v error -nostdin -y -i " + in + " -c:a pcm_s16be ", "aiff", 0xFE02, 16},
      {"ffmpeg -v error -nostdin -y -i " + in + " -c:a pcm_s16le ", "aiff", 1, 16},
  };
  const std::string raw = shell("sox " + in + " -t raw -b 16 -e signed -L -");
  for (const Case& each : cases) {
    const std::string name = folder.file(std::string("file.") + each.extension);
    SCOPED_TRACE(each.command + name);
    shell(each.command + name);
    EXPECT_EQ(QvFileIsAiff(OpenFile::wide(name).c_str()), 1);
    const OpenFile file(name);
    WAVEFORMATEX format;
    DWORD frames = 0;
    ULONGLONG start = 0;
    ULONGLONG bytes = 0;
    ASSERT_EQ(iff_GetAIFFWfx(file, &format, &frames, &start, &bytes), S_OK);
    EXPECT_EQ(format.wFormatTag, each.tag);
    EXPECT_EQ(format.wBitsPerSample, each.bits);
    EXPECT_EQ(format.nChannels, 1);
    EXPECT_EQ(format.nSamplesPerSec, 48'000u);
    EXPECT_EQ(frames, raw.size() / 2);
    EXPECT_EQ(bytes, frames * format.nBlockAlign);
    if (each.bits != 16) continue;
    std::string audio(bytes, '\0');
    DWORD read = 0;
    ASSERT_TRUE(ReadFile(file, audio.data(), static_cast<DWORD>(bytes), &read, nullptr));
    if (each.tag == 0xFE02) iff_ByteSwap16(audio.data(), frames);
    EXPECT_EQ(audio == raw, true);
  }
}

TEST(Qv, ReadsOtherContainers) {
  const ScratchFolder folder;
  const std::string in = recording("Front_Center");
  const std::string ffmpeg = "ffmpeg -v error -nostdin -y -i " + in + " ";
  struct Case {
    std::string command;
    const char* name;
    const char* container;
    const char* first_chunk;
  };
  const Case cases[] = {
      {"sox " + in + " ", "a.aiff", "aiff", "COMT"},
      {"sox " + in + " ", "b.aifc", "aifc", "FVER"},
      {ffmpeg + "-c:a pcm_s16le ", "c.aiff", "aifc", "FVER"},
      {ffmpeg, "d.w64", "wave64", "fmt "},
      {ffmpeg, "e.wav", "RIFF", "fmt "},
  };
  const std::string raw = data_chunk(in);
  for (const Case& each : cases) {
    const std::string name = folder.file(each.name);
    SCOPED_TRACE(name);
    shell(each.command + name);
    const nlohmann::json info = qv_info(name);
    EXPECT_EQ(info["container"], each.container);
    EXPECT_EQ(info["chunks"][0]["id"], each.first_chunk);
    EXPECT_EQ(info["sample_rate"], 48'000);
    const std::string copy = folder.file("copy.wav");
    interop_test::qv({"convert", name, copy, "--type", "pcm16"});
    const std::string audio = data_chunk(copy);
    // ffmpeg counts a Wave64 chunk's padding as audio, here and when it reads the file itself.
    const size_t frames = std::string(each.container) == "wave64" ? (raw.size() + 7) / 8 * 4 : raw.size() / 2;
    EXPECT_EQ(info["frames"], frames);
    EXPECT_EQ(audio.size(), 2 * frames);
    EXPECT_EQ(audio.substr(0, raw.size()) == raw, true);
  }
}

TEST(Qv, WritesWave64) {
  const ScratchFolder folder;
  const std::string in = recording("Front_Center");
  const std::string raw = data_chunk(in);
  for (const SampleType& type : kSampleTypes) {
    SCOPED_TRACE(type.qv);
    const std::string name = folder.file("out.w64");
    interop_test::qv({"convert", in, name, "--type", type.qv});
    EXPECT_EQ(qv_info(name)["container"], "wave64");
    EXPECT_EQ(qv_info(name)["frames"], raw.size() / 2);
    const std::string wave = folder.file("out.wav");
    interop_test::qv({"convert", in, wave, "--type", type.qv});
    // The same audio in both containers, to ffmpeg, to qv, and to sox, which misreads floats.
    const std::string to_raw = " -f f64le -";
    EXPECT_EQ(shell("ffmpeg -v error -nostdin -i " + name + to_raw) ==
                  shell("ffmpeg -v error -nostdin -i " + wave + to_raw),
              true);
    const std::string back = folder.file("back.wav");
    interop_test::qv({"convert", name, back});
    EXPECT_EQ(data_chunk(back) == data_chunk(wave), true);
    if (type.is_float) continue;
    const std::string by_sox = shell("sox -D " + name + " -t raw -");
    const std::string expected = shell("sox -D " + wave + " -t raw -");
    EXPECT_EQ(by_sox.substr(0, expected.size()) == expected, true);
    EXPECT_LE(by_sox.size(), expected.size() + 7) << "sox counts a chunk's padding as audio";
  }
}

/// Every width of samples, an odd number of them, in each container that is read.
TEST(Qv, ReadsEveryTypeOfOtherContainers) {
  const ScratchFolder folder;
  const std::string source = folder.file("odd.wav");
  shell("sox -D " + stereo_source(folder) + " -b 32 " + source + " remix 1 trim 0 5001s");
  const std::string ffmpeg = "ffmpeg -v error -nostdin -y -i ";
  struct Writer {
    std::string command; ///< with the file's name at its end
    const char* name;
    const char* container;
  };
  for (const SampleType& type : kSampleTypes) {
    std::vector<Writer> writers = {{ffmpeg + source + " -c:a " + type.ffmpeg + " ", "f.w64", "wave64"}};
    if (!type.is_float) {
      const std::string bits = std::to_string(type.bits);
      const std::string sox = "sox -D " + source + " ";
      writers.push_back({sox + type.sox + " ", "s.w64", "wave64"});
      writers.push_back({sox + "-b " + bits + " ", "s.aiff", "aiff"});
      writers.push_back({sox + "-b " + bits + " ", "s.aifc", "aifc"});
      writers.push_back({ffmpeg + source + " -c:a pcm_s" + bits + (type.bits == 8 ? " " : "be "), "f.aiff", "aiff"});
    }
    if (type.bits == 16) writers.push_back({ffmpeg + source + " -c:a pcm_s16le ", "sowt.aiff", "aifc"});
    for (const Writer& writer : writers) {
      const std::string file = folder.file(writer.name);
      SCOPED_TRACE(writer.command + file);
      shell(writer.command + file);
      EXPECT_EQ(qv_info(file)["container"], writer.container);
      const std::string copy = folder.file("copy.wav");
      interop_test::qv({"convert", file, copy});
      EXPECT_EQ(qv_info(copy)["sample_type"], type.number);
      const std::string raw = shell(ffmpeg + file + " -c:a " + type.ffmpeg + " -f " + type.ffmpeg_raw + " -");
      EXPECT_GE(raw.size(), 5001u * static_cast<unsigned>(type.bits) / 8);
      EXPECT_EQ(data_chunk(copy) == raw, true);
    }
  }
}

TEST(Qv, ShowsSummaryTexts) {
  const ScratchFolder folder;
  const std::string name = folder.file("tagged.wav");
  shell("ffmpeg -v error -nostdin -y -i " + recording("Front_Center") +
        " -metadata title='A title' -metadata artist=Me " + name);
  const nlohmann::json summary = qv_info(name)["summary"];
  EXPECT_EQ(summary["INAM"], "A title");
  EXPECT_EQ(summary["IART"], "Me");
  EXPECT_EQ(qv_info(recording("Front_Center"))["summary"], nlohmann::json::object());
}

TEST(Wave64, OfOtherPrograms) {
  const ScratchFolder folder;
  const std::string name = folder.file("file.w64");
  shell("ffmpeg -v error -nostdin -y -i " + recording("Front_Center") + " " + name);
  EXPECT_EQ(QvFileIsWave64(OpenFile::wide(name).c_str()), 1);
  const std::string raw = shell("sox " + recording("Front_Center") + " -t raw -");
  {
    const OpenFile file(name);
    ULONGLONG size = 0;
    ASSERT_EQ(riff64_FindChunkHeaderInRIFF(file, &QVW64_DATA, &size, nullptr), S_OK);
    EXPECT_EQ(size, (raw.size() + 7) / 8 * 8) << "ffmpeg counts the padding";
    std::string audio(size, '\0');
    ASSERT_EQ(riff64_ReadData(file, audio.data(), size), S_OK);
    EXPECT_EQ(audio == raw + std::string(size - raw.size(), '\0'), true);
  }
  // And ffmpeg reads what the library writes.
  const WAVEFORMATEX format = {1, 1, 48'000, 96'000, 2, 16, 0};
  const std::string ours = folder.file("ours.w64");
  ASSERT_EQ(QvInitializeWav64WithJunk(OpenFile::wide(ours).c_str(), &format, CREATE_ALWAYS, 4096), S_OK);
  {
    const OpenFile file(ours);
    ASSERT_EQ(riff64_RestoreLocation(file, 4096), S_OK);
    ASSERT_EQ(riff64_WriteToFile(file, raw.data(), raw.size()), S_OK);
    ASSERT_EQ(QvInsertW64Header(file, &format, raw.size(), 4096), S_OK);
  }
  EXPECT_EQ(shell("ffmpeg -v error -nostdin -i " + ours + " -f s16le -") == raw, true);
}

TEST(WaveRepair, SoxReadsAMendedFile) {
  const ScratchFolder folder;
  const std::string raw = shell("sox " + recording("Front_Center") + " -t raw -");
  const std::string name = folder.file("cut.wav");
  const WAVEFORMATEX format = {1, 1, 48'000, 96'000, 2, 16, 0};
  ASSERT_EQ(QvInitializeWav(OpenFile::wide(name).c_str(), &format, CREATE_ALWAYS), S_OK);
  {
    const OpenFile file(name); // a recording that was interrupted: its header says that it is empty
    ASSERT_EQ(riff_RestoreLocation(file, 46), S_OK);
    ASSERT_EQ(riff64_WriteToFile(file, raw.data(), raw.size()), S_OK);
    EXPECT_EQ(shell("sox " + name + " -t raw - 2>/dev/null || true").size(), 0u);
    ASSERT_EQ(QvFixTrashedWav(file, nullptr, 0xFFFFFFFF), S_OK);
  }
  EXPECT_EQ(shell("sox " + name + " -t raw -") == raw, true);
}

} // namespace
