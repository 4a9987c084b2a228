// qv time: positions from one format to another, their sums and differences, and all formats side by side.
#include "tools/qv/command/command.h"
#include "tools/qv/command/position_options.h"
#include "tools/qv/failure.h"
#include "tools/qv/json.h"

#include <cstdio>
#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

struct Options {
  PositionOptions position;
  std::string value;
  std::string other;
  DWORD from = QVPOSFMT_RAW;
  DWORD to = QVPOSFMT_RAW;
  bool to_all = false;
  bool short_form = false;
  bool absolute = false;
  bool json = false;

  DWORD flags() const { return (short_form ? QVTIME_SHORT : 0) | (absolute ? QVTIME_ABSOLUTE : 0); }
  QVNANOTIME read(const std::string& text) const { return position_from(text, position.shown_as(from), flags()); }
};

void print_json(const Json& document) { std::cout << document.dump() << "\n"; }

int print_position(const Options& options, QVNANOTIME time, DWORD format) {
  const std::string text = text_of(time, options.position.shown_as(format), options.flags());
  if (options.json)
    print_json(Json::object({{"text", text}, {"time_100ns", time}}));
  else
    std::cout << text << "\n";
  return kSuccess;
}

int print_all(const Options& options, QVNANOTIME time) {
  Json texts = Json::object({});
  for (DWORD code = 0; code < QVPOSFMT_COUNT; ++code) {
    const std::string text = text_of(time, options.position.shown_as(code), options.flags());
    if (options.json)
      texts.set(position_format_name(code), text);
    else
      std::printf("%-13s %s\n", position_format_name(code).c_str(), text.c_str());
  }
  if (options.json) print_json(Json::object({{"time_100ns", time}, {"texts", texts}}));
  return kSuccess;
}

int convert(const Options& options) {
  const QVNANOTIME time = options.read(options.value);
  return options.to_all ? print_all(options, time) : print_position(options, time, options.to);
}

int print_table(const Options& options) {
  const QVNANOTIME time = options.read(options.value);
  Json rows = Json::array();
  if (!options.json) std::printf("%2s  %-13s %-22s %s\n", "", "format", "long", "short");
  for (DWORD code = 0; code < QVPOSFMT_COUNT; ++code) {
    const _qvposfmt shown = options.position.shown_as(code);
    const std::string name = position_format_name(code);
    const std::string long_text = text_of(time, shown, options.flags() & ~QVTIME_SHORT);
    const std::string short_text = text_of(time, shown, options.flags() | QVTIME_SHORT);
    if (options.json) {
      rows.push_back(Json::object({{"code", code}, {"format", name}, {"long", long_text}, {"short", short_text}}));
    } else {
      std::printf("%2u  %-13s %-22s %s\n", static_cast<unsigned>(code), name.c_str(), long_text.c_str(),
                  short_text.c_str());
    }
  }
  if (options.json) print_json(Json::object({{"time_100ns", time}, {"formats", rows}}));
  return kSuccess;
}

/// The SMPTE format of a timecode format, else 0.
DWORD smpte_format_of(DWORD code) {
#define QV_SMPTE_OF_POSITION(format, name, long_text, short_text, smpte)                                               \
  if (code == format) return smpte;
  QV_POSFMT_TABLE(QV_SMPTE_OF_POSITION)
#undef QV_SMPTE_OF_POSITION
  return 0;
}

using DialOperation = void (*)(_smpteval*, const _smpteval*);

/// Adds or subtracts: timecode on its dial, frame by frame; other positions as times. What is combined is what is
/// shown, so that the offset counts once.
int combine(const Options& options, DialOperation operation, int sign) {
  const QVNANOTIME offset = options.absolute ? 0 : options.position.offset;
  QVNANOTIME a = 0;
  QVNANOTIME b = 0;
  QVNANOTIME result = 0;
  bool overflows = __builtin_sub_overflow(options.read(options.value), offset, &a);
  overflows |= __builtin_sub_overflow(options.read(options.other), offset, &b);
  _smpteval label = {};
  label.format = smpte_format_of(options.from);
  if (label.format == 0) {
    overflows |= sign > 0 ? __builtin_add_overflow(a, b, &result) : __builtin_sub_overflow(a, b, &result);
  } else {
    if (a < 0 || b < 0) throw Failure("\"" + (a < 0 ? options.value : options.other) + "\"", "is not on the dial");
    _smpteval other = label;
    QVSMPTE_NanoToSMPTE(a, &label);
    QVSMPTE_NanoToSMPTE(b, &other);
    operation(&label, &other);
    result = QVSMPTE_SMPTEToNanos(&label);
  }
  overflows |= __builtin_add_overflow(result, offset, &result);
  if (overflows) throw Failure("\"" + options.other + "\"", "takes the result out of range");
  return print_position(options, result, options.from);
}

std::shared_ptr<Options> add_common(const Command& command) {
  auto options = std::make_shared<Options>();
  options->position.add_to(command);
  command.flag("--short", options->short_form, "Use the short forms");
  command.flag("--absolute", options->absolute, "Leave the offset out; count measures from 0");
  command.flag("--json", options->json, "Print JSON");
  return options;
}

void add_combination(const Command& time, const std::string& name, const std::string& description,
                     DialOperation operation, int sign) {
  const Command command = time.subcommand(name, description);
  const std::shared_ptr<Options> options = add_common(command);
  command.option("A", options->value, "A position").required();
  command.option("B", options->other, "Another").required();
  add_format_option(command, "--format", options->from, "Of both and of the result; raw by default");
  command.runs([options, operation, sign] { return combine(*options, operation, sign); });
}

void add_table(const Command& time) {
  const Command command = time.subcommand("table", "Print a position in all formats, long and short");
  const std::shared_ptr<Options> options = add_common(command);
  options->value = "37234567890";
  command.option("VALUE", options->value, "The position").shows_default();
  add_format_option(command, "--from", options->from, "Of VALUE; raw by default");
  command.runs([options] { return print_table(*options); });
}

/// Reads a format, or "all".
void read_target(Options& options, const std::string& text) {
  if (text == "all")
    options.to_all = true;
  else
    options.to = position_format_from(text, "--to");
}

} // namespace

void add_time(const Command& program) {
  const Command time = program.subcommand("time", "Convert positions between time, timecode, samples and measures");
  const std::shared_ptr<Options> options = add_common(time);
  time.option("VALUE", options->value, "A position");
  add_format_option(time, "--from", options->from, "Of VALUE: a name (qv time table) or number; raw by default");
  time.option(
          "--to", [options](const std::string& text) { read_target(*options, text); },
          "Of the result, or all; raw by default")
      .type_name("FORMAT|all");
  time.needs_subcommand(false);
  add_combination(time, "add", "Add two positions; timecode on its dial of 24 hours", QVSMPTE_AddSMPTE, 1);
  add_combination(time, "sub", "Subtract B from A; timecode on its dial of 24 hours", QVSMPTE_SubtractSMPTE, -1);
  add_table(time);
  time.runs_alone("VALUE", [options] { return convert(*options); });
}

} // namespace qv::tool
