// What `qv repair` would do to any bytes: what it says is sound afterwards, and no byte of audio is touched or lost.
//
// Input: a byte that says whether the file is a Wave64 file by its name, and the file.
// Sources: tools/qv/repair riff/wave
#include "fuzz/riff/memory_file.h"
#include "tools/qv/failure.h"
#include "tools/qv/repair/repair_plan.h"

#include "qv/wave_file.h"

#include <algorithm>
#include <string>

using namespace fuzz;
using qv::tool::RepairPlan;

namespace {

constexpr qv::tool::RepairHint kHint = {{1, 2, 44'100, 0, 0, 16, 0}, std::nullopt};

RepairPlan plan_for(const std::string& bytes, const std::string& name) {
  const MemoryFile file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return plan_repair(name, file.handle, kHint);
}

std::string repaired_by_library(const std::string& bytes, const RepairPlan& plan) {
  const MemoryFile file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  const HRESULT result = plan.is_wave64 ? QvFixTrashedW64(file.handle, &kHint.format, plan.limit)
                                        : QvFixTrashedWav(file.handle, &kHint.format, static_cast<DWORD>(plan.limit));
  require(result == S_OK && file.size() == static_cast<LONGLONG>(bytes.size()));
  std::string mended(bytes.size(), '\0');
  DWORD done = 0;
  file.move(0, FILE_BEGIN);
  require(ReadFile(file.handle, mended.data(), static_cast<DWORD>(mended.size()), &done, nullptr));
  return mended;
}

std::string repaired(const std::string& bytes, const RepairPlan& plan) {
  if (plan.way == RepairPlan::Way::kLibrary) return repaired_by_library(bytes, plan);
  std::string mended = bytes;
  if (plan.way == RepairPlan::Way::kNewFile) {
    require(plan.kept_front <= plan.kept_from && plan.kept_from < bytes.size());
    mended = bytes.substr(0, plan.kept_front) + plan.new_header + bytes.substr(plan.kept_from);
  }
  for (const qv::tool::Edit& edit : plan.edits)
    mended.replace(edit.offset, edit.bytes.size(), edit.bytes);
  return mended;
}

/// In front of the audio, and no byte twice.
void require_apart(std::vector<qv::tool::Edit> edits, uint64_t audio) {
  std::sort(edits.begin(), edits.end(), [](const auto& a, const auto& b) { return a.offset < b.offset; });
  uint64_t end = 0;
  for (const qv::tool::Edit& edit : edits) {
    require(edit.offset >= end && edit.offset <= audio && edit.bytes.size() <= audio - edit.offset);
    end = edit.offset + edit.bytes.size();
  }
}

void require_kept_audio(const std::string& bytes, const RepairPlan& plan, const std::string& mended) {
  const uint64_t from = plan.way == RepairPlan::Way::kNewFile ? plan.kept_from : plan.audio;
  require(plan.audio <= mended.size() && from <= bytes.size() &&
          mended.compare(plan.audio, std::string::npos, bytes, from, std::string::npos) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const std::string name = data[0] % 2 == 0 ? "file.wav" : "file.w64";
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    const RepairPlan plan = plan_for(bytes, name);
    require_apart(plan.edits, plan.audio);
    const std::string mended = repaired(bytes, plan);
    require_kept_audio(bytes, plan, mended);
    const RepairPlan again = plan_for(mended, name);
    require(again.is_sound() && again.audio == plan.audio);
  } catch (const qv::tool::Failure&) {
    // Of another kind, or without audio: nothing is written.
  }
  return 0;
}
