// qv repair: a new or mended header for a damaged wave file.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_output.h"
#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/repair/repair_plan.h"
#include "tools/qv/text.h"
#include "tools/qv/undo/change_file.h"
#include "tools/qv/undo/undo_file.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

struct Options {
  std::string file;
  std::optional<DWORD> rate;
  std::optional<DWORD> channels;
  std::string type;
  std::optional<uint64_t> limit;
  bool dry_run = false;
  bool backup = false;
  bool force = false;
  bool undo = false;
  bool no_undo = false;
};

RepairHint hint_from(const Options& options) {
  RepairHint hint = {options.rate, options.channels, std::nullopt, options.limit};
  if (!options.type.empty()) hint.type = row_of(written_types(), options.type).type;
  return hint;
}

void print_line(const char* label, const std::string& text) {
  std::cout << "  " << label << std::string(14 - std::string(label).size(), ' ') << printable(text) << "\n";
}

/// Where an edit goes, as "at 4 to 7: ".
std::string place(const Edit& edit) {
  if (edit.replaced == 0) return "in front of " + std::to_string(edit.offset) + ": ";
  return "at " + std::to_string(edit.offset) + " to " + std::to_string(edit.offset + edit.replaced - 1) + ": ";
}

void back_up(const std::string& name) {
  const std::string backup = name + ".bak";
  std::error_code error;
  if (std::filesystem::exists(std::filesystem::path(path_from(backup)), error))
    throw Failure(backup, "is there already: nothing was written");
  const OpenFile from = open_existing(name, GENERIC_READ);
  OutputFile to(backup);
  to.append(from, name, 0, size_of(from));
  to.commit(size_of(from));
}

/// The plan's edits with what they replace. `file` is the one that was planned for.
std::vector<Replacement> replacements_of(const std::string& name, HANDLE file, const RepairPlan& plan) {
  std::vector<Replacement> replacements;
  for (const Edit& edit : plan.edits) {
    if (edit.replaced > undo::kMaxBytes) throw Failure(name, "more than 64 MiB would go, which is not done");
    Replacement replacement = {edit.offset, std::string(static_cast<size_t>(edit.replaced), '\0'), edit.bytes};
    DWORD done = 0;
    const auto bytes = static_cast<DWORD>(edit.replaced);
    if (!move_to(file, edit.offset) || !ReadFile(file, replacement.old_bytes.data(), bytes, &done, nullptr) ||
        done != bytes)
      throw Failure(name, "cannot be read: " + system_error_text(GetLastError()));
    replacements.push_back(std::move(replacement));
  }
  return replacements;
}

/// A line per 16 bytes, of no more than 1,024.
void print_bytes(const char* label, const std::string& bytes) {
  constexpr size_t kPerLine = 16;
  constexpr size_t kMaxBytes = 1024;
  std::string line;
  for (size_t at = 0; at < std::min(bytes.size(), kMaxBytes); ++at) {
    char digits[4];
    std::snprintf(digits, sizeof digits, " %02x", static_cast<unsigned char>(bytes[at]));
    line += digits;
    if ((at + 1) % kPerLine != 0 && at + 1 != bytes.size()) continue;
    print_line(at < kPerLine ? label : "", line.substr(1));
    line.clear();
  }
  if (bytes.size() > kMaxBytes) print_line("", "and " + std::to_string(bytes.size() - kMaxBytes) + " more");
}

void print(const std::string& name, const RepairPlan& plan, const std::vector<Replacement>& replacements,
           bool with_bytes) {
  std::cout << printable(name) << "\n";
  for (const std::string& line : plan.found)
    print_line("found", line);
  if (plan.is_sound()) print_line("to write", "nothing: the header is sound");
  for (size_t k = 0; k < plan.edits.size(); ++k) {
    print_line("to write", place(plan.edits[k]) + plan.edits[k].what);
    if (!with_bytes) continue;
    print_bytes("  old bytes", replacements[k].old_bytes);
    print_bytes("  new bytes", replacements[k].new_bytes);
  }
  for (const std::string& reason : plan.refusals)
    print_line("refused", reason);
  std::cout.flush(); // before anything is written
}

int undo(const LockedInput& input) {
  undo_change(input);
  std::cout << printable(input.name()) << "\n";
  print_line("undone", "it is as it was before the repair");
  return kSuccess;
}

/// Settles what an earlier run that was killed has left, unless this one is dry. Answers what it was, or nothing.
std::string settle(const LockedInput& input, bool dry_run) {
  if (dry_run) return has_broken_change(input) ? "a repair that was broken off: it is finished or undone first" : "";
  switch (settle_change(input)) {
  case Settled::kFinished: return "a repair that was broken off when all was written: now it is finished";
  case Settled::kUndone: return "a repair that was broken off: what it had written is undone";
  default: return "";
  }
}

/// Throws Failure where there are reasons not to repair.
void check_reasons(const LockedInput& input, const RepairPlan& plan, bool force) {
  std::string reasons;
  for (const std::string& reason : plan.refusals)
    reasons += (reasons.empty() ? "" : "; ") + reason;
  if (!reasons.empty() && !force) throw Failure(input.name(), reasons + ": --force repairs it nevertheless");
  const UndoFile undo_file(input);
  if (undo_file.exists())
    throw Failure(input.name(), "was repaired before: take that back by --undo, or accept it by removing " +
                                    undo_file.name() + ", before it is repaired again");
}

void mend(const LockedInput& input, const std::vector<Replacement>& replacements, bool keeps_undo) try {
  change_file(input, replacements, keeps_undo ? UndoPolicy::kKeep : UndoPolicy::kNone);
} catch (const NoUndoFile& failure) {
  throw NoUndoFile(Failure(failure.what(), "--no-undo repairs without it"));
} catch (const HalfChanged& half) {
  throw Failure(input.name(), "is half mended: writing failed, " + half.reason +
                                  (keeps_undo ? "; the next repair undoes that, once it can write" : ""));
}

int repair(const Options& options) {
  const LockedInput input(options.file);
  if (options.undo) return undo(input);
  const std::string broken = settle(input, options.dry_run);
  RepairPlan plan;
  std::vector<Replacement> replacements;
  {
    const OpenFile file = open_existing(options.file, GENERIC_READ);
    plan = plan_repair(options.file, file, hint_from(options));
    replacements = replacements_of(options.file, file, plan);
  }
  if (!broken.empty()) plan.found.insert(plan.found.begin(), broken);
  print(options.file, plan, replacements, options.dry_run);
  if (plan.is_sound()) return kSuccess;
  if (options.dry_run) {
    print_line("dry run", "nothing was written");
    return kSuccess;
  }
  check_reasons(input, plan, options.force);
  if (options.backup) back_up(options.file);
  mend(input, replacements, !options.no_undo);
  if (options.backup) print_line("kept", "as it was it is in " + options.file + ".bak");
  print_line("mended", options.no_undo ? "what was there is gone" : "--undo brings back what was there");
  return kSuccess;
}

} // namespace

void add_repair(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command =
      program.subcommand("repair", "Mend the headers of a damaged audio file; its audio stays as it is");
  command.option("FILE", options->file, "A RIFF wave, RF64, Wave64 or AIFF file").required();
  command.option("--rate", options->rate, "Sample rate where the header says none that makes sense (44100)")
      .between(DWORD{1}, DWORD{10'000'000});
  command.option("--channels", options->channels, "The same for channels (2)").between(1, 1024);
  command
      .option("--type", options->type,
              "The same for the sample type: pcm8, pcm16 (as it is), pcm24, pcm32, float32 or float64")
      .one_of(type_names());
  command
      .option("--limit", options->limit,
              "Look for a header up to this byte (65536); where there is none, the audio starts there")
      .not_negative();
  command.flag("--dry-run", options->dry_run, "Say what is to be done, and write nothing");
  command.flag("--backup", options->backup, "Keep the file as it is in FILE.bak");
  command.flag("--force", options->force, "Repair also where chunks or audio that are known would be lost");
  Option no_undo = command.flag("--no-undo", options->no_undo,
                                "Keep nothing in FILE.qv-undo: needed where the folder cannot be written");
  command.flag("--undo", options->undo, "Bring back the file as it was before the last repair").excludes(no_undo);
  command.runs([options] { return repair(*options); });
}

} // namespace qv::tool
