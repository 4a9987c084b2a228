// qv repair: a new or mended header for a damaged wave file.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_output.h"
#include "tools/qv/file/output_file.h"
#include "tools/qv/repair/repair_plan.h"
#include "tools/qv/text.h"

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

void print(const std::string& name, const RepairPlan& plan) {
  std::cout << printable(name) << "\n";
  for (const std::string& line : plan.found)
    print_line("found", line);
  if (plan.is_sound()) print_line("to write", "nothing: the header is sound");
  for (const Edit& edit : plan.edits)
    print_line("to write", place(edit) + edit.what);
  std::cout.flush(); // before anything is written
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

void write_new_file(const std::string& name, const RepairPlan& plan) {
  OutputFile to(name);
  const OpenFile from = open_existing(name, GENERIC_READ);
  uint64_t at = 0;
  uint64_t bytes = 0;
  const auto copy_up_to = [&](uint64_t end) {
    to.append(from, name, at, end - at);
    bytes += end - at;
  };
  for (const Edit& edit : plan.edits) {
    copy_up_to(edit.offset);
    to.append(edit.bytes.data(), static_cast<DWORD>(edit.bytes.size()));
    bytes += edit.bytes.size();
    at = edit.offset + edit.replaced;
  }
  copy_up_to(size_of(from));
  to.commit(bytes);
}

void write_in_place(const std::string& name, const RepairPlan& plan) {
  OpenFile file = open_existing(name, GENERIC_READ | GENERIC_WRITE);
  for (const Edit& edit : plan.edits) {
    DWORD done = 0;
    const auto bytes = static_cast<DWORD>(edit.bytes.size());
    if (!move_to(file, edit.offset) || !WriteFile(file, edit.bytes.data(), bytes, &done, nullptr) || done != bytes)
      throw Failure(name, "cannot be written: " + system_error_text(GetLastError()));
  }
  if (!FlushFileBuffers(file) || !file.close())
    throw Failure(name, "cannot be written: " + system_error_text(GetLastError()));
}

int repair(const Options& options) {
  const RepairHint hint = hint_from(options);
  const RepairPlan plan = plan_repair(options.file, open_existing(options.file, GENERIC_READ), hint);
  print(options.file, plan);
  if (plan.is_sound()) return kSuccess;
  if (options.dry_run) {
    print_line("dry run", "nothing was written");
    return kSuccess;
  }
  if (options.backup) back_up(options.file);
  if (plan.is_in_place())
    write_in_place(options.file, plan);
  else
    write_new_file(options.file, plan);
  print_line("mended", options.backup ? "as it was it is in " + options.file + ".bak" : "no copy was kept");
  return kSuccess;
}

} // namespace

void add_repair(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command =
      program.subcommand("repair", "Mend the header of a damaged wave file; its audio stays as it is");
  command.option("FILE", options->file, "A RIFF wave or Wave64 file").required();
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
  command.runs([options] { return repair(*options); });
}

} // namespace qv::tool
