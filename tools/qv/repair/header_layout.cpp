#include "tools/qv/repair/header_layout.h"

#include "tools/qv/text.h"

#include "qv/riff64.h"

#include <algorithm>
#include <array>

namespace qv::tool {

namespace {

using Family = HeaderLayout::Family;

constexpr size_t kName = 4; // the rest of a GUID is that of its family

std::string bytes_of(const GUID& id) { return {reinterpret_cast<const char*>(&id), sizeof id}; }

/// In the order in which they are taken when an id tells no more than that.
const std::array<HeaderLayout, 6>& layouts() {
  static const std::array<HeaderLayout, 6> all = {{
      {"RIFF wave", Family::kRiff, "RIFF", "WAVE", "fmt ", "data", "JUNK", 4, 2, 8, 0, 0, 16, false, false},
      {"Wave64", Family::kWave64, bytes_of(QVW64_RIFF), bytes_of(QVW64_WAVE), bytes_of(QVW64_FMT), bytes_of(QVW64_DATA),
       bytes_of(QVW64_JUNK), 8, 8, 0, QVW64_HEADER_BYTES, 0, 16, false, false},
      {"AIFF", Family::kAiff, "FORM", "AIFF", "COMM", "SSND", "JUNK", 4, 2, 8, 0, 8, 18, true, false},
      {"AIFF-C", Family::kAiff, "FORM", "AIFC", "COMM", "SSND", "JUNK", 4, 2, 8, 0, 8, 22, true, false},
      {"RF64", Family::kRiff, "RF64", "WAVE", "fmt ", "data", "JUNK", 4, 2, 8, 0, 0, 16, false, true},
      {"BW64", Family::kRiff, "BW64", "WAVE", "fmt ", "data", "JUNK", 4, 2, 8, 0, 0, 16, false, true},
  }};
  return all;
}

bool ends_in(const std::string& name, const char* suffix) {
  const std::string end = suffix;
  return name.size() >= end.size() && std::equal(end.rbegin(), end.rend(), name.rbegin(), [](char a, char b) {
           return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b);
         });
}

const HeaderLayout& by_name(const std::string& name) {
  if (is_wave64_name(name)) return layouts()[1];
  if (ends_in(name, ".aif") || ends_in(name, ".aiff")) return layouts()[2];
  return ends_in(name, ".aifc") ? layouts()[3] : layouts()[0];
}

/// How well a file's first bytes fit a layout: two for an id, one for an id of which a byte is wrong.
int fit(const HeaderLayout& layout, const std::string& bytes) {
  constexpr int kWhole = 2;
  const auto points = [&](uint64_t at, const std::string& id) {
    if (bytes.size() < at + id.size()) return 0;
    return kWhole - static_cast<int>(std::min<size_t>(wrong_bytes(bytes.substr(at, id.size()), id), kWhole));
  };
  const int long_sizes = layout.has_long_sizes ? points(layout.file_header(), layout.id("ds64")) : 0;
  const int first = std::max(points(layout.file_header(), layout.format_id), long_sizes);
  return points(0, layout.file_id) + points(layout.chunk_header(), layout.form_id) + first;
}

/// Whether both ids of a file are text, and neither that of another container by an accident.
bool is_other_kind(const HeaderLayout& best, const std::string& bytes) {
  if (bytes.size() < best.file_header() || best.id_bytes() != kName) return false;
  const std::string form = bytes.substr(best.chunk_header(), kName);
  return bytes.compare(0, kName, best.file_id) == 0 && wrong_bytes(form, best.form_id) > 1 && best.is_plausible(form);
}

} // namespace

size_t wrong_bytes(const std::string& one, const std::string& other) {
  size_t wrong = 0;
  for (size_t i = 0; i < one.size(); ++i)
    wrong += one[i] != other[i];
  return wrong;
}

std::string HeaderLayout::stored(uint64_t size) const {
  const uint64_t field = std::min(size, largest_size());
  std::string bytes(reinterpret_cast<const char*>(&field), static_cast<size_t>(size_bytes));
  if (is_big_endian) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

uint64_t HeaderLayout::stored_in(const std::string& bytes, uint64_t offset) const {
  uint64_t field = 0;
  for (uint64_t k = 0; k < size_bytes; ++k)
    field |= uint64_t{static_cast<BYTE>(bytes[offset + (is_big_endian ? size_bytes - 1 - k : k)])} << 8 * k;
  return field;
}

std::string HeaderLayout::id(const std::string& characters) const {
  if (family != Family::kWave64) return characters;
  if (characters == "JUNK") return junk_id;
  return characters == "LIST" ? bytes_of(QVW64_LIST) : characters + format_id.substr(kName);
}

std::string HeaderLayout::chunk_start(const std::string& id, uint64_t data_bytes) const {
  return id + stored(data_bytes + chunk_size_includes);
}

std::string HeaderLayout::file_start(uint64_t file_bytes) const {
  return file_id + stored(has_long_sizes ? largest_size() : file_bytes - file_size_excludes) + form_id;
}

bool HeaderLayout::is_plausible(const std::string& id) const {
  // Any GUID may be an id; four characters are text.
  if (family == Family::kWave64)
    return id != std::string(sizeof(GUID), '\0') && id != std::string(sizeof(GUID), '\xFF');
  return std::all_of(id.begin(), id.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

const HeaderLayout& riff_layout() { return layouts()[0]; }

const HeaderLayout* header_layout(const std::string& first_bytes, const std::string& name) {
  const HeaderLayout* best = nullptr;
  int most = 0;
  for (const HeaderLayout& layout : layouts())
    if (const int points = fit(layout, first_bytes); points > most) {
      best = &layout;
      most = points;
    }
  if (!best) return &by_name(name);
  return is_other_kind(*best, first_bytes) ? nullptr : best;
}

} // namespace qv::tool
