#include "tools/qv/repair/header_layout.h"

#include "tools/qv/text.h"

#include "qv/riff64.h"

#include <algorithm>
#include <cstring>

namespace qv::tool {

namespace {

constexpr const char* kChunksBehindAudio[] = {"LIST", "JUNK", "junk", "PAD ", "FLLR", "bext", "iXML", "aXML",
                                              "_PMX", "id3 ", "ID3 ", "cue ", "plst", "smpl", "inst", "acid",
                                              "fact", "PEAK", "levl", "cart", "DISP", "umid"};

std::string bytes_of(const GUID& id) { return {reinterpret_cast<const char*>(&id), sizeof id}; }

const HeaderLayout& riff() {
  static const HeaderLayout layout = {"RIFF wave", "RIFF", "WAVE", "fmt ", "data", "JUNK", 4, 2, 8, 0};
  return layout;
}

const HeaderLayout& wave64() {
  static const HeaderLayout layout = {"Wave64",
                                      bytes_of(QVW64_RIFF),
                                      bytes_of(QVW64_WAVE),
                                      bytes_of(QVW64_FMT),
                                      bytes_of(QVW64_DATA),
                                      bytes_of(QVW64_JUNK),
                                      8,
                                      8,
                                      0,
                                      QVW64_HEADER_BYTES};
  return layout;
}

} // namespace

std::string HeaderLayout::stored(uint64_t size) const {
  const uint64_t field = std::min(size, largest_size());
  return {reinterpret_cast<const char*>(&field), static_cast<size_t>(size_bytes)};
}

uint64_t HeaderLayout::stored_in(const std::string& bytes, uint64_t offset) const {
  uint64_t field = 0;
  std::memcpy(&field, bytes.data() + offset, size_bytes);
  return field;
}

std::string HeaderLayout::chunk_start(const std::string& id, uint64_t data_bytes) const {
  return id + stored(data_bytes + chunk_size_includes);
}

std::string HeaderLayout::file_start(uint64_t file_bytes) const {
  return file_id + stored(file_bytes - file_size_excludes) + form_id;
}

bool HeaderLayout::is_plausible(const std::string& id) const {
  // Any GUID may be an id; four characters are text.
  if (id_bytes() == sizeof(GUID)) return id != std::string(sizeof(GUID), '\0');
  return std::all_of(id.begin(), id.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

bool HeaderLayout::is_known(const std::string& id) const {
  constexpr size_t kName = 4; // the rest of a GUID is that of its family
  if (id == bytes_of(QVW64_LIST) || id == junk_id) return true;
  return id.substr(kName) == format_id.substr(kName) &&
         std::any_of(std::begin(kChunksBehindAudio), std::end(kChunksBehindAudio),
                     [&](const char* known) { return id.compare(0, kName, known) == 0; });
}

const HeaderLayout& header_layout(const std::string& first_bytes, const std::string& name) {
  const HeaderLayout& layout = wave64();
  const auto has = [&](uint64_t at, const std::string& id) { return first_bytes.compare(at, id.size(), id) == 0; };
  if (first_bytes.size() >= layout.record_at() &&
      (has(0, layout.file_id) || has(layout.chunk_header(), layout.form_id) ||
       has(layout.file_header(), layout.format_id)))
    return layout;
  if (first_bytes.compare(0, 4, "RIFF") == 0) return riff();
  return is_wave64_name(name) ? layout : riff();
}

} // namespace qv::tool
