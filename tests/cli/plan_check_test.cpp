// The last look at a plan of a repair: whatever made it, it may not touch audio, nor lose what is known unasked.
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/disk/disk_file.h"
#include "tools/qv/repair/plan_check.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace qv::tool;

namespace {

const Bytes kLists = riff("WAVE", kFormat + kData + list("INFO", chunk("INAM", "ab")) + chunk("fact", "1234"));

struct Planned {
  const char* name;
  std::vector<Edit> edits;
  bool holds;
};

Edit bytes_at(uint64_t offset, size_t count) { return {offset, count, Bytes(count, 'x'), ""}; }

// The format's header stands at 12, its record at 20, the audio's header at 36, the audio from 44 up to 52.
const Planned kPlans[] = {
    {"each header and the record", {bytes_at(0, 12), bytes_at(12, 8), bytes_at(20, 16), bytes_at(36, 8)}, true},
    {"a header behind the audio", {bytes_at(52, 8)}, true},
    {"a byte of audio in front", {bytes_at(37, 8)}, false},
    {"the last byte of audio", {bytes_at(51, 1)}, false},
    {"all around the audio", {bytes_at(36, 24)}, false},
    {"two that overlap", {bytes_at(12, 8), bytes_at(19, 2)}, false},
    {"two out of order", {bytes_at(36, 8), bytes_at(12, 8)}, false},
    {"over the record's end", {bytes_at(30, 8)}, false},
    {"the data of a list", {bytes_at(60, 4)}, false},
    {"behind the file", {bytes_at(kLists.size() - 1, 2)}, false},
};

TEST(PlanCheck, NoPlanTouchesAudio) {
  const ScratchFolder folder;
  const std::string name = folder.put("in.wav", kLists);
  const OpenFile file = open_existing(name, GENERIC_READ);
  const DamagedFile damaged(name, file, std::nullopt);
  const ChunkReading reading = read_chunks(damaged);
  for (const Planned& row : kPlans) {
    SCOPED_TRACE(row.name);
    RepairPlan plan;
    plan.audio = 44;
    plan.audio_bytes = 8;
    plan.edits = row.edits;
    if (row.holds) EXPECT_NO_THROW(check_plan(damaged, reading, plan));
    if (!row.holds) EXPECT_THROW(check_plan(damaged, reading, plan), Failure);
  }
}

TEST(PlanCheck, WhatWouldBeLostIsAReasonToRefuse) {
  const ScratchFolder folder;
  const std::string name = folder.put("in.wav", kLists);
  const OpenFile file = open_existing(name, GENERIC_READ);
  const DamagedFile damaged(name, file, std::nullopt);
  RepairPlan plan;
  plan.audio = 44;
  plan.audio_bytes = 8;
  ChunkReading reading = read_chunks(damaged);
  EXPECT_EQ(refusals_of(damaged, reading, plan, 2).size(), 0u);
  plan.edits = {bytes_at(4, 4)};
  EXPECT_EQ(refusals_of(damaged, reading, plan, 2).size(), 0u);

  plan.audio_bytes = 4;
  const_cast<Piece*>(reading.audio)->end = 48;
  EXPECT_EQ(refusals_of(damaged, reading, plan, 2),
            std::vector<std::string>{"the audio would be shorter by 4 bytes that are no known chunks"});
  plan.audio_bytes = 8;
  reading.pieces.pop_back();
  EXPECT_EQ(refusals_of(damaged, reading, plan, 2), std::vector<std::string>{"the chunk \"fact\" at 74 would be lost"});
  plan.edits = {{0, 36, "a shorter front", ""}};
  EXPECT_EQ(refusals_of(damaged, reading, plan, 2).front(), "the chunk \"fmt \" at 12 would be lost");
}

} // namespace
