// What `qv repair` would do to any bytes: no byte of audio is touched or lost, however often a file is repaired.
//
// Input: a byte that says whether the file is a Wave64 file by its name, and the file.
// Sources: tools/qv/repair riff/wave
#include "fuzz/riff/memory_file.h"
#include "tools/qv/failure.h"
#include "tools/qv/repair/repair_plan.h"

#include <string>

using namespace fuzz;
using qv::tool::RepairPlan;

namespace {

RepairPlan plan_for(const std::string& bytes, const std::string& name) {
  const MemoryFile file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return qv::tool::plan_repair(name, file.handle, {});
}

/// In order, no byte twice, and none of the audio. Returns where the audio will begin.
uint64_t require_apart(const RepairPlan& plan, size_t size) {
  uint64_t end = 0;
  uint64_t audio = plan.audio;
  require(plan.audio <= size && plan.audio_bytes <= size - plan.audio);
  for (const qv::tool::Edit& edit : plan.edits) {
    require(edit.offset >= end && edit.offset <= size && edit.replaced <= size - edit.offset);
    end = edit.offset + edit.replaced;
    require(end <= plan.audio || edit.offset >= plan.audio + plan.audio_bytes);
    if (end <= plan.audio) audio += edit.bytes.size() - edit.replaced; // wraps round, and back, where it is less
  }
  return audio;
}

std::string repaired(std::string bytes, const RepairPlan& plan) {
  for (auto edit = plan.edits.rbegin(); edit != plan.edits.rend(); ++edit)
    bytes.replace(edit->offset, edit->replaced, edit->bytes);
  return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const std::string name = data[0] % 2 == 0 ? "file.wav" : "file.w64";
  std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  constexpr int kRepairs = 4;
  try {
    RepairPlan plan = plan_for(bytes, name);
    for (int repairs = 0; !plan.is_sound() && repairs < kRepairs; ++repairs) {
      const std::string audio = bytes.substr(plan.audio, plan.audio_bytes);
      const uint64_t at = require_apart(plan, bytes.size());
      bytes = repaired(bytes, plan);
      require(bytes.compare(at, audio.size(), audio) == 0);
      // Of bytes that are no recording another reading may be the cheapest then.
      plan = plan_for(bytes, name);
    }
  } catch (const qv::tool::Failure&) {
    // Of another kind, or without audio: nothing is written.
  }
  return 0;
}
