// Whole files through the program's reader and writer.
#include "bench/ratios.h"
#include "bench/riff/groups.h"
#include "tools/qv/file/audio_output.h"
#include "tools/qv/file/samples/sample_conversion.h"
#include "tools/qv/file/samples/sample_reader.h"

#include <cmath>
#include <memory>
#include <vector>

#if defined(QV_BENCH_sndfile)
#include <sndfile.h>
#endif

namespace bench {
namespace {

constexpr WORD kChannels = 2;
constexpr uint64_t kFrames = 64 * 1024 * 1024 / sizeof(float) / kChannels;
const DWORD kBlockFrames = qv::tool::frames_per_block(kChannels);

/// A block that is written again and again, or read into, as a program does that works block by block.
using Block = std::shared_ptr<std::vector<float>>;

Block tone() {
  auto samples = std::make_shared<std::vector<float>>(size_t{kBlockFrames} * kChannels);
  for (size_t i = 0; i < samples->size(); ++i)
    (*samples)[i] = static_cast<float>(0.9 * std::sin(static_cast<double>(i) * 0.01));
  return samples;
}

_qvwaveformat format_of(QVSAMPLETYPE type) {
  _qvwaveformat format;
  format.Init(48'000, type, kChannels, 0, sizeof format);
  return format;
}

void write(const std::string& name, QVSAMPLETYPE type, const float* samples) {
  qv::tool::AudioOutput output({name, name + ".none"}, format_of(type), kFrames);
  qv::tool::SampleConversion conversion(format_of(QVSAMPLE_FLOAT32), type, {}, 1.0f, kBlockFrames);
  qv::tool::for_each_block(kFrames, kBlockFrames, [&](DWORD frames) {
    conversion.run(conversion.output(), samples, frames);
    output.write_frames(conversion.output(), frames);
  });
  output.commit();
}

void read(const std::string& name, float* samples) {
  const qv::tool::AudioFile input = qv::tool::read_audio_file(name);
  qv::tool::SampleReader reader(input);
  qv::tool::SampleConversion conversion(input.format(), QVSAMPLE_FLOAT32, {}, 1.0f, kBlockFrames);
  qv::tool::for_each_block(input.frames, kBlockFrames, [&](DWORD frames) {
    reader.read(conversion.input(), frames);
    conversion.run(samples, conversion.input(), frames);
  });
}

#if defined(QV_BENCH_sndfile)

void write_by_sndfile(const std::string& name, int subtype, const float* samples) {
  SF_INFO info{};
  info.samplerate = 48'000;
  info.channels = kChannels;
  info.format = SF_FORMAT_WAV | subtype;
  SNDFILE* file = sf_open(name.c_str(), SFM_WRITE, &info);
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE); // as qv does
  qv::tool::for_each_block(kFrames, kBlockFrames, [&](DWORD frames) { sf_writef_float(file, samples, frames); });
  sf_close(file);
}

void read_by_sndfile(const std::string& name, float* samples) {
  SF_INFO info{};
  SNDFILE* file = sf_open(name.c_str(), SFM_READ, &info);
  qv::tool::for_each_block(kFrames, kBlockFrames, [&](DWORD frames) { sf_readf_float(file, samples, frames); });
  sf_close(file);
}

#endif

} // namespace

void add_transfers(const ScratchFolder& folder) {
  const Block block = tone();
  const struct {
    const char* bits;
    QVSAMPLETYPE type;
    int subtype;
  } writes[] = {{"16", QVSAMPLE_PCM16, 0x0002}, {"24", QVSAMPLE_PCM24, 0x0003}};
  for (const auto& row : writes) {
    const std::string name = folder.file("written.wav").string();
    // A new file each time: what becomes of an old one is another matter.
    Group group{std::string("write 64 MiB of float as ") + row.bits + "-bit",
                [=] { write(name, row.type, block->data()); },
                {},
                [=] { std::filesystem::remove(name); }};
#if defined(QV_BENCH_sndfile)
    group.others.push_back({"libsndfile", [=] { write_by_sndfile(name, row.subtype, block->data()); }, 2.3});
#endif
    add(std::move(group));
  }
  const std::string source = folder.file("read.wav").string();
  write(source, QVSAMPLE_PCM16, block->data());
  Group group{"read 16-bit as 64 MiB of float", [=] { read(source, block->data()); }, {}};
#if defined(QV_BENCH_sndfile)
  group.others.push_back({"libsndfile", [=] { read_by_sndfile(source, block->data()); }, 2.0});
#endif
  add(std::move(group));
}

} // namespace bench
