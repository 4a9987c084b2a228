#include "tools/qv/repair/known_chunks.h"

#include <algorithm>

namespace qv::tool {

namespace {

struct Row {
  const char* id;
  uint64_t least;        ///< bytes of data
  uint64_t at;           ///< where the data have a text that tells them
  const char* text = ""; ///< where '*' stands for any character
};

// Of RIFF wave, and under the same names of Wave64. Where two texts tell one, it has two rows.
constexpr Row kWaveChunks[] = {
    {"fmt ", 16, 0},
    {"data", 0, 0},
    {"ds64", 24, 0},
    {"LIST", 4, 0, "INFO"},
    {"LIST", 4, 0, "adtl"},
    {"JUNK", 0, 0},
    {"junk", 0, 0},
    {"PAD ", 0, 0},
    {"FLLR", 0, 0},
    {"bext", 602, 324, "-**-**"}, // of the date 2026-11-24
    {"bext", 602, 324, ":**:**"},
    {"iXML", 1, 0, "<?xml"},
    {"iXML", 1, 0, "<BWFXML"},
    {"aXML", 1, 0},
    {"axml", 1, 0},
    {"chna", 4, 0},
    {"_PMX", 1, 0, "<?xpacket"},
    {"id3 ", 10, 0, "ID3"},
    {"ID3 ", 10, 0, "ID3"},
    {"cue ", 4, 0},
    {"plst", 4, 0},
    {"smpl", 36, 0},
    {"inst", 7, 0},
    {"acid", 24, 0},
    {"fact", 4, 0},
    {"PEAK", 16, 0},
    {"CSET", 8, 0},
    {"levl", 120, 0},
    {"cart", 2048, 0},
    {"DISP", 4, 0},
    {"umid", 32, 0},
};

constexpr Row kAiffChunks[] = {
    {"COMM", 18, 0}, {"SSND", 8, 0},  {"FVER", 4, 0, "\xA2\x80\x51\x40"},
    {"NAME", 0, 0},  {"AUTH", 0, 0},  {"(c) ", 0, 0},
    {"ANNO", 0, 0},  {"MARK", 2, 0},  {"INST", 20, 0},
    {"COMT", 2, 0},  {"APPL", 4, 0},  {"MIDI", 0, 0},
    {"AESD", 24, 0}, {"SAXL", 2, 0},  {"CHAN", 12, 0},
    {"PEAK", 16, 0}, {"basc", 84, 0}, {"ID3 ", 10, 0, "ID3"},
    {"JUNK", 0, 0},  {"FLLR", 0, 0},
};

/// A row with the id as it stands in files of a container.
struct Known : Row {
  std::string file_id;
};

template <size_t kCount>
std::vector<Known> known_of(const Row (&rows)[kCount], const HeaderLayout& layout) {
  std::vector<Known> all;
  for (const Row& row : rows)
    all.push_back({row, layout.id(row.id)});
  return all;
}

const std::vector<Known>& known_chunks(const HeaderLayout& layout) {
  static const std::vector<Known> riff = known_of(kWaveChunks, riff_layout());
  static const std::vector<Known> aiff = known_of(kAiffChunks, riff_layout());
  if (layout.family == HeaderLayout::Family::kAiff) return aiff;
  if (layout.family == HeaderLayout::Family::kRiff) return riff;
  static const std::vector<Known> wave64 = known_of(kWaveChunks, layout);
  return wave64;
}

bool tells(const Row& row, const std::string& data) {
  const std::string text = row.text;
  if (text.empty() || data.size() < row.at + text.size()) return false;
  return std::equal(text.begin(), text.end(), data.begin() + static_cast<ptrdiff_t>(row.at),
                    [](char wanted, char c) { return wanted == '*' || wanted == c; });
}

} // namespace

std::vector<std::string> known_ids(const HeaderLayout& layout) {
  std::vector<std::string> ids;
  for (const Known& known : known_chunks(layout))
    if (std::find(ids.begin(), ids.end(), known.file_id) == ids.end()) ids.push_back(known.file_id);
  return ids;
}

bool is_known(const HeaderLayout& layout, const std::string& id) {
  const std::vector<Known>& all = known_chunks(layout);
  return std::any_of(all.begin(), all.end(), [&](const Known& known) { return known.file_id == id; });
}

uint64_t least_bytes(const HeaderLayout& layout, const std::string& id) {
  for (const Known& known : known_chunks(layout))
    if (known.file_id == id) return known.least;
  return 0;
}

std::optional<std::string> nearly_known(const HeaderLayout& layout, const std::string& id) {
  const std::string* nearest = nullptr;
  for (const Known& known : known_chunks(layout)) {
    if (wrong_bytes(known.file_id, id) != 1 || (nearest && *nearest == known.file_id)) continue;
    if (nearest) return std::nullopt;
    nearest = &known.file_id;
  }
  return nearest ? std::optional(*nearest) : std::nullopt;
}

bool looks_like(const HeaderLayout& layout, const std::string& id, const std::string& data) {
  const std::vector<Known>& all = known_chunks(layout);
  return std::any_of(all.begin(), all.end(),
                     [&](const Known& known) { return known.file_id == id && tells(known, data); });
}

std::optional<std::string> told_from(const HeaderLayout& layout, const std::string& data, uint64_t size) {
  for (const Known& known : known_chunks(layout))
    if (size >= known.least && tells(known, data)) return known.file_id;
  return std::nullopt;
}

} // namespace qv::tool
