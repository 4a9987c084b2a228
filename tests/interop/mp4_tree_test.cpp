// The trees that the library reads from other programs' files: boxes, tables and texts are where those programs see
// them.
#include "tests/interop/mp4_material.h"

#include "qv/mp4.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <sstream>
#include <taglib/mp4file.h>

using namespace interop_test;
using namespace fileutil;

namespace {

using Tree = std::unique_ptr<Boxes>;

Tree tree_of(const std::string& file) {
  BoxReader reader(wide(file).c_str());
  return Tree(reader.readFile());
}

std::string name_of(FourCC type) { return {reinterpret_cast<const char*>(&type), sizeof type}; }

/// Position, size and type of every box, in file order.
struct Place {
  uint64_t position;
  uint64_t size;
  std::string type;
};
void add_places(const Boxes& boxes, std::vector<Place>& places) {
  for (const IBox* const box : boxes) {
    places.push_back({box->position(), box->size(), name_of(box->type())});
    if (const auto* const container = dynamic_cast<const IContainerBox*>(box))
      add_places(container->children(), places);
  }
}

/// Sizes by position from mediainfo's trace, where each box has a line "Header", and under it its size and name.
std::map<uint64_t, uint64_t> mediainfo_places(const std::string& file) {
  std::map<uint64_t, uint64_t> places;
  std::istringstream trace(shell("mediainfo --Details=1 " + file));
  for (std::string line; std::getline(trace, line);) {
    const size_t name_at = line.find_first_not_of(' ', line.find(' '));
    if (name_at == std::string::npos || !line.substr(name_at).starts_with("Header (")) continue;
    std::string size;
    std::string name;
    if (!std::getline(trace, size) || size.find("Size:") == std::string::npos) continue;
    if (!std::getline(trace, name) || name.find("Name:") == std::string::npos) continue;
    places[std::stoull(line, nullptr, 16)] = std::stoull(size.substr(size.find(": ") + 2));
  }
  return places;
}

TEST(Mp4Tree, BoxesStandWhereMediainfoSeesThem) {
  const ScratchFolder folder;
  for (const Mp4Recipe& recipe : kMp4Recipes) {
    SCOPED_TRACE(recipe.name);
    const std::string file = make_mp4(folder, recipe);
    std::vector<Place> ours;
    add_places(*tree_of(file), ours);
    const auto theirs = mediainfo_places(file);
    ASSERT_GT(theirs.size(), 5u);
    for (const Place& place : ours) {
      const auto found = theirs.find(place.position);
      ASSERT_NE(found, theirs.end()) << place.type << " at " << place.position;
      EXPECT_EQ(place.size, found->second) << place.type;
    }
  }
}

/// Where each sample of a track is, from its tables.
std::vector<std::pair<uint64_t, uint64_t>> samples_of(const IContainerBox& table) {
  const auto& boxes = table.children();
  const auto& sizes = dynamic_cast<const SampleSizeBox&>(*boxes.find(QvFourCC("stsz")));
  const auto& runs = dynamic_cast<const SampleToChunkBox&>(*boxes.find(QvFourCC("stsc"))).entries;
  IBox* chunks = boxes.find(QvFourCC("stco"));
  if (!chunks) chunks = boxes.find(QvFourCC("co64"));
  const auto& offsets = dynamic_cast<const IChunkOffsetBox&>(*chunks);
  std::vector<std::pair<uint64_t, uint64_t>> samples;
  size_t run = 0;
  for (size_t chunk = 0; chunk < offsets.offsetCount(); ++chunk) {
    while (run + 1 < runs.size() && runs[run + 1].firstChunk <= chunk + 1)
      ++run;
    uint64_t position = offsets.offset(chunk);
    for (uint32_t k = 0; k < runs[run].samplesPerChunk; ++k) {
      const uint64_t size = sizes.commonSize != 0 ? sizes.commonSize : sizes.sizes.at(samples.size());
      samples.emplace_back(position, size);
      position += size;
    }
  }
  EXPECT_EQ(samples.size(), sizes.sampleCount);
  return samples;
}

/// The same as ffprobe hands out packets of one stream.
std::vector<std::pair<uint64_t, uint64_t>> packets_of(const std::string& file, size_t stream) {
  std::istringstream lines(shell("ffprobe -v error -select_streams " + std::to_string(stream) +
                                 " -show_entries packet=size,pos -of csv=p=0 " + file));
  std::vector<std::pair<uint64_t, uint64_t>> packets;
  for (std::string line; std::getline(lines, line);)
    if (!line.empty()) // what stands beside packets has lines of its own
      packets.emplace_back(std::stoull(line.substr(line.find(',') + 1)), std::stoull(line));
  return packets;
}

std::vector<const IContainerBox*> sample_tables(const Boxes& boxes) {
  std::vector<const IContainerBox*> tables;
  for (const IBox* const box : boxes) {
    const auto* const container = dynamic_cast<const IContainerBox*>(box);
    if (!container) continue;
    if (box->type() == QvFourCC("stbl")) tables.push_back(container);
    for (const auto* const table : sample_tables(container->children()))
      tables.push_back(table);
  }
  return tables;
}

/// PCM comes in packets of many samples: those are joined.
std::vector<std::pair<uint64_t, uint64_t>> joined(std::vector<std::pair<uint64_t, uint64_t>> samples) {
  std::vector<std::pair<uint64_t, uint64_t>> ranges;
  for (const auto& [position, size] : samples)
    if (!ranges.empty() && ranges.back().first + ranges.back().second == position)
      ranges.back().second += size;
    else
      ranges.emplace_back(position, size);
  return ranges;
}

TEST(Mp4Tree, TablesLeadToThePacketsOfFfprobe) {
  const ScratchFolder folder;
  for (const Mp4Recipe& recipe : kMp4Recipes) {
    if (recipe.is_fragmented) continue; // their tables are empty
    SCOPED_TRACE(recipe.name);
    const std::string file = make_mp4(folder, recipe);
    const Tree tree = tree_of(file);
    const auto tables = sample_tables(*tree);
    const bool is_pcm = std::string(recipe.options).find("pcm") != std::string::npos;
    ASSERT_GE(tables.size(), 1u);
    for (size_t k = 0; k < tables.size(); ++k) {
      const auto packets = packets_of(file, k);
      if (packets.empty() && k > 0) continue; // ffprobe gives none of chapters
      const auto samples = samples_of(*tables[k]);
      EXPECT_EQ(is_pcm ? joined(samples) : samples, is_pcm ? joined(packets) : packets);
    }
  }
}

TEST(Mp4Tree, AMillionChunksLeadToTheirPackets) {
  const ScratchFolder folder;
  shell(kFfmpeg + "-f lavfi -i anullsrc=r=8000:cl=mono -t 2 -c:a aac -b:a 8k " + folder.file("one.aac"));
  const std::string frames = cli_test::read_file(folder.file("one.aac"));
  constexpr size_t kFrames = 1'000'000;
  std::string many = frames;
  size_t count = std::stoul(shell("ffprobe -v error -count_packets -show_entries stream=nb_read_packets -of csv=p=0 " +
                                  folder.file("one.aac")));
  for (; count * 2 <= kFrames; count *= 2)
    many += many;
  const std::string file = folder.file("million.m4a");
  cli_test::qv_says({"mux", folder.put("many.aac", many), file});
  const Tree tree = tree_of(file);
  const auto tables = sample_tables(*tree);
  ASSERT_EQ(tables.size(), 1u);
  const auto* const offsets = dynamic_cast<ChunkOffsetBox*>(tables[0]->children().find(QvFourCC("stco")));
  ASSERT_NE(offsets, nullptr);
  EXPECT_EQ(offsets->offsets.size(), count);
  EXPECT_EQ(samples_of(*tables[0]) == packets_of(file, 0), true);
  EXPECT_EQ(qv_info(file)["tracks"][0]["samples"], count);
}

/// The value of a text item in the tree of readMeta().
std::string text_in(const Boxes& boxes, FourCC item) {
  const IBox* box = nullptr;
  const Boxes* level = &boxes;
  for (const FourCC type :
       {QvFourCC("moov"), QvFourCC("udta"), QvFourCC("meta"), QvFourCC("ilst"), item, QvFourCC("data")}) {
    box = level->find(type);
    const auto* const container = dynamic_cast<const IContainerBox*>(box);
    if (container) level = &container->children();
    if (!box) return "none";
  }
  const auto* const data = dynamic_cast<const IDataBox*>(box);
  return data ? std::string(data->value.begin(), data->value.end()) : "no data";
}

TEST(Mp4Tree, TextsAreThoseOfTagLib) {
  const ScratchFolder folder;
  const std::string file = make_mp4(folder, mp4_recipe("tagged.m4a"));
  TagLib::MP4::File theirs(file.c_str());
  const auto& items = theirs.tag()->itemMap();
  for (const bool for_update : {false, true}) {
    BoxReader reader(wide(file).c_str());
    const Tree tree(for_update ? reader.readMetaForUpdate() : reader.readMeta());
    for (const char* id : {"\xA9nam",
                           "\xA9"
                           "ART",
                           "\xA9"
                           "alb",
                           "\xA9gen",
                           "\xA9"
                           "day",
                           "\xA9"
                           "cmt"}) {
      FourCC type;
      std::memcpy(&type, id, sizeof type);
      const TagLib::String key(id, TagLib::String::Latin1);
      ASSERT_TRUE(items.contains(key)) << id;
      EXPECT_EQ(text_in(*tree, type), items[key].toStringList().front().to8Bit(true));
    }
  }
}

} // namespace
