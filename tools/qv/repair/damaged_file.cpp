#include "tools/qv/repair/damaged_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/open_file.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr uint64_t kUsualLimit = 65'536;

/// Files of other kinds, by what they begin with.
struct OtherKind {
  const char* bytes;
  const char* name;
};
constexpr OtherKind kOtherKinds[] = {{"FORM", "an IFF file"},           {"RF64", "an RF64 file"},
                                     {"BW64", "a BW64 file"},           {"RIFX", "a big-endian RIFF file"},
                                     {"fLaC", "a FLAC file"},           {"OggS", "an Ogg file"},
                                     {"ID3", "a file with an ID3 tag"}, {"caff", "a Core Audio file"}};

void refuse_other_kinds(const DamagedFile& damaged) {
  const std::string& start = damaged.start;
  for (const OtherKind& kind : kOtherKinds)
    if (start.compare(0, std::strlen(kind.bytes), kind.bytes) == 0)
      throw Failure(damaged.name, std::string("is ") + kind.name + ": only RIFF wave and Wave64 files are mended");
  const std::string form = start.substr(std::min<size_t>(start.size(), 8), 4);
  if (start.compare(0, 4, "RIFF") == 0 && form.size() == 4 && form != "WAVE" && damaged.layout->is_plausible(form))
    throw Failure(damaged.name, "is a RIFF file of the form \"" + form + "\", not a wave file");
}

} // namespace

std::string DamagedFile::read(uint64_t offset, uint64_t bytes) const {
  if (offset >= size) return {};
  std::string buffer(static_cast<size_t>(std::min(bytes, size - offset)), '\0');
  DWORD done = 0;
  if (!move_to(file, offset) || !ReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &done, nullptr))
    throw Failure(name, system_error_text(GetLastError()));
  buffer.resize(done);
  return buffer;
}

DamagedFile look_at(const std::string& name, HANDLE file, std::optional<uint64_t> limit) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file, &size)) throw Failure(name, system_error_text(GetLastError()));
  DamagedFile damaged = {name, file, static_cast<uint64_t>(size.QuadPart), {}, nullptr, 0};
  if (damaged.size == 0) throw Failure(name, "the file is empty");
  damaged.start = damaged.read(0, 128);
  damaged.layout = &header_layout(damaged.start, name);
  damaged.limit = std::min(limit.value_or(kUsualLimit), damaged.layout->largest_size());
  refuse_other_kinds(damaged);
  return damaged;
}

} // namespace qv::tool
