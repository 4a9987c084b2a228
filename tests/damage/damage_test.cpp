// Every kind of damage to headers, over recordings of many writers: what a repair finds of the audio and its format.
// Prints the table.
#include "tests/cli/scratch_folder.h"
#include "tests/damage/recordings.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/disk/disk_file.h"
#include "tools/qv/repair/repair_plan.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <set>

using namespace damage_test;
using cli_test::ScratchFolder;

namespace {

/// What became of the damages of one class.
struct Row {
  int trials = 0, perfect = 0, audio = 0, format = 0;
  int swallowed = 0; ///< files whose audio grew by chunks that stood there
  int refused = 0;
};

using Table = std::map<std::string, Row>;

struct Damaged {
  std::string kind, bytes;
  uint64_t audio_bytes; ///< that are left of the audio
};

/// What matters of a file: where its audio stands, and what describes it.
struct Look {
  size_t audio = 0, audio_bytes = 0;
  std::string format;
  std::set<std::string> chunks;
};

Look look_at(const Layout& layout, const std::string& bytes) {
  Look look;
  for (const ChunkPlace& chunk : chunks_of(layout, bytes)) {
    look.chunks.insert(chunk.id);
    if (chunk.id == layout.audio && look.audio == 0) {
      look.audio = chunk.data + layout.audio_prefix;
      look.audio_bytes = chunk.size - std::min(chunk.size, layout.audio_prefix);
    } else if (chunk.id == layout.format) {
      look.format = bytes.substr(chunk.data, std::min<size_t>(chunk.size, layout.is_big_endian ? 18 : 16));
      if (layout.is_big_endian) look.format.erase(2, 4); // frames, which are fewer in a cut file
    }
  }
  return look;
}

/// The bytes from `at` on replaced, each time by another value.
void ruin(std::vector<Damaged>& all, const std::string& kind, const std::string& bytes, size_t at, size_t count,
          uint64_t audio) {
  std::string flipped = bytes.substr(at, count);
  for (char& c : flipped)
    c = static_cast<char>(c ^ 0x5B);
  for (const std::string& by : {std::string(count, '\0'), std::string(count, '\xFF'), flipped}) {
    std::string damaged = bytes;
    damaged.replace(at, count, by);
    if (damaged != bytes) all.push_back({kind, damaged, audio});
  }
}

void ruin_field(std::vector<Damaged>& all, const std::string& kind, const std::string& bytes, size_t at, size_t count,
                uint64_t audio) {
  for (size_t k = 0; k < count; ++k)
    ruin(all, kind + ", 1 byte", bytes, at + k, 1, audio);
  ruin(all, kind + ", whole", bytes, at, count, audio);
}

constexpr std::pair<const char*, std::pair<size_t, size_t>> kRecordFields[] = {
    {"tag", {0, 2}},       {"channels", {2, 2}}, {"rate", {4, 4}},
    {"byte rate", {8, 4}}, {"align", {12, 2}},   {"bits", {14, 2}}};

void ruin_headers(std::vector<Damaged>& all, const Recording& take, const std::vector<ChunkPlace>& chunks,
                  uint64_t audio) {
  const Layout& layout = *take.layout;
  ruin_field(all, "file: id", take.bytes, 0, 4, audio);
  ruin_field(all, "file: size", take.bytes, layout.id_bytes, 4, audio);
  ruin_field(all, "file: form", take.bytes, layout.header(), 4, audio);
  ruin(all, "file: header", take.bytes, 0, layout.first(), audio);
  for (const ChunkPlace& chunk : chunks) {
    const bool is_audio = chunk.id == layout.audio;
    const bool is_format = chunk.id == layout.format;
    const std::string name = is_audio ? "audio" : is_format ? "format" : "other chunk";
    ruin_field(all, name + ": id", take.bytes, chunk.at, 4, audio);
    ruin_field(all, name + ": size", take.bytes, chunk.at + layout.id_bytes, 4, audio);
    ruin(all, name + ": header", take.bytes, chunk.at, layout.header(), audio);
    if (chunk.id == "ds64") ruin(all, "long sizes", take.bytes, chunk.data, 24, audio);
    if (!is_format || layout.is_big_endian) continue;
    for (const auto& [field, place] : kRecordFields)
      ruin_field(all, std::string("record: ") + field, take.bytes, chunk.data + place.first, place.second, audio);
    ruin(all, "record: all", take.bytes, chunk.data, 16, audio);
  }
}

/// What stands in a damaged file where the record did.
std::string format_at(const Recording& take, const std::string& bytes) {
  std::string whole = take.bytes;
  for (const ChunkPlace& chunk : chunks_of(*take.layout, take.bytes))
    if (chunk.id == take.layout->format) whole.replace(chunk.data, chunk.size, bytes, chunk.data, chunk.size);
  return look_at(*take.layout, whole).format;
}

std::vector<Damaged> damages_of(const Recording& take) {
  const Layout& layout = *take.layout;
  const std::vector<ChunkPlace> chunks = chunks_of(layout, take.bytes);
  const Look whole = look_at(layout, take.bytes);
  std::vector<Damaged> all;
  ruin_headers(all, take, chunks, whole.audio_bytes);
  for (const size_t percent : {5u, 30u, 77u, 99u}) {
    const size_t length = whole.audio + whole.audio_bytes * percent / 100;
    all.push_back({"cut in the audio", take.bytes.substr(0, length), length - whole.audio});
  }
  // Bytes that were lost, as long as they leave the record, the audio's header and those behind it: a chunk behind
  // audio whose header is gone cannot be told from audio.
  constexpr size_t kLost = 24;
  const auto loses_header_behind = [&](size_t at) {
    return std::any_of(chunks.begin(), chunks.end(), [&](const ChunkPlace& chunk) {
      return chunk.at > whole.audio && at < chunk.data && at + kLost > chunk.at;
    });
  };
  for (size_t at = 0; at + kLost <= take.bytes.size(); at += 5) {
    std::string lost = take.bytes;
    lost.replace(at, kLost, std::string(kLost, '\0'));
    const bool leaves_audio = at + kLost <= whole.audio - layout.audio_prefix - layout.header() ||
                              (at >= whole.audio + whole.audio_bytes && !loses_header_behind(at));
    if (leaves_audio && look_at(layout, take.bytes).format == format_at(take, lost))
      all.push_back({"24 zeros", lost, whole.audio_bytes});
  }
  for (const char byte : {'\0', '\xFF', '\1'}) { // as a writer leaves them, or of a while ago
    std::string stale = take.bytes;
    stale.replace(layout.id_bytes, layout.size_bytes, std::string(layout.size_bytes, byte));
    const size_t size_at = whole.audio - layout.audio_prefix - layout.size_bytes;
    const std::string old = layout.is_big_endian ? std::string("\0\0\1\0", 4) : std::string("\0\1\0\0\0\0\0\0", 8);
    stale.replace(size_at, layout.size_bytes,
                  byte == '\1' ? old.substr(0, layout.size_bytes) : std::string(layout.size_bytes, byte));
    all.push_back({"stale sizes", stale, whole.audio_bytes});
  }
  return all;
}

struct Mended {
  std::string bytes;
  bool is_refused = false;
};

Mended mend(const std::string& file, const std::string& bytes) {
  using namespace qv::tool;
  cli_test::write_file(file, bytes);
  try {
    const RepairPlan plan = plan_repair(file, open_existing(file, GENERIC_READ), {});
    std::string mended = bytes;
    for (auto edit = plan.edits.rbegin(); edit != plan.edits.rend(); ++edit)
      mended.replace(edit->offset, edit->replaced, edit->bytes);
    return {mended, !plan.refusals.empty()};
  } catch (const Failure&) {
    return {bytes, true};
  }
}

void judge(Row& row, const Recording& take, const Damaged& damaged, const Mended& mended) {
  const Look before = look_at(*take.layout, take.bytes);
  const Look after = look_at(*take.layout, mended.bytes);
  const uint64_t most = damaged.audio_bytes;
  ++row.trials;
  row.perfect += mended.bytes == take.bytes;
  row.refused += mended.is_refused;
  // A cut or stale file may end in less than a frame.
  constexpr uint64_t kFrame = 48;
  row.audio += after.audio == before.audio && after.audio_bytes <= most && after.audio_bytes + kFrame > most;
  row.format += after.format == before.format;
  row.swallowed += after.audio == before.audio && after.audio_bytes > most;
}

/// Whether the other fields of a record cannot tell what its tag was: 32 bits are integers or floats, and the tag of a
/// compressed format, AAC here, is left alone.
bool is_undecided(const Recording& take, const Damaged& damaged) {
  if (damaged.kind.rfind("record: tag", 0) != 0) return false;
  const std::string was = look_at(*take.layout, take.bytes).format;
  const std::string is = look_at(*take.layout, damaged.bytes).format;
  return was.substr(14, 2) == std::string(" \0", 2) || is.substr(0, 2) == std::string("\xFF\0", 2);
}

Table measure() {
  const ScratchFolder folder;
  Table table;
  for (const Recording& take : recordings())
    for (const Damaged& damaged : damages_of(take)) {
      const std::string kind = damaged.kind + (is_undecided(take, damaged) ? ", undecided" : "");
      judge(table[kind], take, damaged, mend(folder.file("take" + take.suffix), damaged.bytes));
    }
  return table;
}

void print(const Table& table) {
  std::printf("%-26s %7s %8s %7s %7s %10s %8s\n", "damage", "trials", "perfect", "audio", "format", "swallowed",
              "refused");
  for (const auto& [kind, row] : table)
    std::printf("%-26s %7d %8d %7d %7d %10d %8d\n", kind.c_str(), row.trials, row.perfect, row.audio, row.format,
                row.swallowed, row.refused);
}

TEST(Damage, WhatARepairMakesOfIt) {
  const Table table = measure();
  print(table);
  int fields = 0;
  int restored = 0;
  for (const auto& [kind, row] : table) {
    SCOPED_TRACE(kind);
    EXPECT_EQ(row.swallowed, 0);
    EXPECT_EQ(row.audio, row.trials);
    if (kind.rfind("record: ", 0) != 0) {
      EXPECT_EQ(row.format, row.trials);
    } else if (kind != "record: all" && kind.find("undecided") == std::string::npos) {
      fields += row.trials;
      restored += row.format;
    }
  }
  std::printf("single fields of records that the others decide: %d of %d\n", restored, fields);
  EXPECT_GE(restored * 100, fields * 95);
}

} // namespace
