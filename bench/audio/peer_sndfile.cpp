#include "bench/audio/groups.h"

#include <algorithm>
#include <cstring>
#include <sndfile.h>

namespace bench {
namespace {

int format_of(QVSAMPLETYPE type) {
  constexpr int kRaw = SF_FORMAT_RAW;
  switch (type) {
  case QVSAMPLE_PCM8: return kRaw | SF_FORMAT_PCM_U8;
  case QVSAMPLE_PCM16: return kRaw | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
  case QVSAMPLE_PCM24: return kRaw | SF_FORMAT_PCM_24 | SF_ENDIAN_LITTLE;
  case QVSAMPLE_PCM32: return kRaw | SF_FORMAT_PCM_32 | SF_ENDIAN_LITTLE;
  case QVSAMPLE_BE16: return kRaw | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG;
  case QVSAMPLE_BE24: return kRaw | SF_FORMAT_PCM_24 | SF_ENDIAN_BIG;
  case QVSAMPLE_BE32: return kRaw | SF_FORMAT_PCM_32 | SF_ENDIAN_BIG;
  default: return 0;
  }
}

/// A file in memory that begins again when it is wound back, so that only the conversion is timed.
struct MemoryFile {
  std::vector<char> bytes;
  sf_count_t position = 0;
  SNDFILE* file = nullptr;
  ~MemoryFile() { sf_close(file); }

  static sf_count_t length(void* user) { return static_cast<sf_count_t>(self(user).bytes.size()); }
  static sf_count_t tell(void* user) { return self(user).position; }
  static sf_count_t seek(sf_count_t offset, int whence, void* user) {
    auto& me = self(user);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? me.position : length(user);
    return me.position = base + offset;
  }
  static sf_count_t read(void* target, sf_count_t count, void* user) {
    auto& me = self(user);
    count = std::min(count, length(user) - me.position);
    std::memcpy(target, me.bytes.data() + me.position, static_cast<size_t>(count));
    me.position += count;
    return count;
  }
  static sf_count_t write(const void* source, sf_count_t count, void* user) {
    auto& me = self(user);
    std::memcpy(me.bytes.data() + me.position, source,
                static_cast<size_t>(std::min(count, length(user) - me.position)));
    me.position += count;
    return count;
  }
  static MemoryFile& self(void* user) { return *static_cast<MemoryFile*>(user); }
};

std::shared_ptr<MemoryFile> open(QVSAMPLETYPE type, int mode, size_t count, const uint8_t* samples) {
  if (format_of(type) == 0) return nullptr;
  auto memory = std::make_shared<MemoryFile>();
  memory->bytes.resize(count * QvAudio_BytesFromSampleType(type) + 64);
  if (samples) std::memcpy(memory->bytes.data(), samples, memory->bytes.size() - 64);
  SF_INFO info{};
  info.samplerate = 48000;
  info.channels = 2;
  info.format = format_of(type);
  SF_VIRTUAL_IO io{MemoryFile::length, MemoryFile::seek, MemoryFile::read, MemoryFile::write, MemoryFile::tell};
  memory->file = sf_open_virtual(&io, mode, &info, memory.get());
  if (!memory->file) return nullptr;
  sf_command(memory->file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  return memory;
}

} // namespace

Conversion sndfile_write(QVSAMPLETYPE file, Buffer floats, size_t count) {
  const auto memory = open(file, SFM_WRITE, count, nullptr);
  if (!memory) return nullptr;
  return [=] {
    memory->position = 0;
    sf_write_float(memory->file, reinterpret_cast<const float*>(floats->data()), static_cast<sf_count_t>(count));
  };
}

Conversion sndfile_read(QVSAMPLETYPE file, Buffer floats, Buffer samples, size_t count) {
  const auto memory = open(file, SFM_READ, count, samples->data());
  if (!memory) return nullptr;
  return [=] {
    sf_seek(memory->file, 0, SEEK_SET);
    sf_read_float(memory->file, reinterpret_cast<float*>(floats->data()), static_cast<sf_count_t>(count));
  };
}

} // namespace bench
