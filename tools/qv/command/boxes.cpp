// qv boxes: the boxes of an MP4 file, and what one of them holds.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/mp4/box_file.h"
#include "tools/qv/mp4/box_path.h"
#include "tools/qv/mp4/box_report.h"

#include "qv/mp4/box_printer.h"

#include <memory>

namespace qv::tool {

namespace {

struct Options {
  std::string file;
  DWORD levels = fileutil::BoxPrinter::kEveryLevel;
  bool json = false;
  std::string path_text;
  BoxPath path; ///< to the box that is extracted; empty: all are shown
  bool value = false;
  std::string output;
};

int extract(const Options& options, const BoxFile& input) {
  const fileutil::IBox* box = nullptr;
  try {
    box = &box_at(*input.boxes, options.path);
  } catch (const std::invalid_argument& reason) {
    throw Failure(options.file, options.path_text + ": " + reason.what());
  }
  uint64_t front = box->headerSize();
  if (options.value) {
    constexpr uint64_t kTypeAndLocale = 8;
    if (box->type() != QvFourCC("data") || box->size() < front + kTypeAndLocale)
      throw Failure(options.file, options.path_text + ": only a \"data\" box has a value");
    front += kTypeAndLocale;
  }
  OutputFile output(options.output, options.file);
  output.append(input.file, options.file, box->position() + front, box->size() - front);
  output.commit(box->size() - front);
  return kSuccess;
}

int boxes(const Options& options) {
  const BoxFile input = read_box_file(options.file);
  for (const std::string& line : damage_of(input))
    print_warning(options.file, line);
  if (!options.path.empty()) return extract(options, input);
  (options.json ? print_boxes_json : print_boxes)(*input.boxes, options.levels);
  return kSuccess;
}

} // namespace

void add_boxes(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command = program.subcommand("boxes", "Show the boxes of an MP4 file, or write what one of them holds");
  command.option("FILE", options->file, "MP4, M4A, 3GP or QuickTime file").required();
  Option depth = command.option("--depth", options->levels, "Levels of boxes that are shown");
  depth.between(DWORD{1}, ~DWORD{0}).default_text("all");
  Option json = command.flag("--json", options->json, "Print JSON");
  const std::function<void(const std::string&)> read_path = [options](const std::string& text) {
    options->path_text = text;
    try {
      options->path = box_path_from(text);
    } catch (const std::invalid_argument& reason) {
      throw WrongUsage("--extract", reason.what());
    }
  };
  Option path = command.option("--extract", read_path, "Write what a box holds, as moov/trak[2]/mdia/hdlr");
  path.type_name("BOXPATH").excludes(depth).excludes(json);
  Option output = command.option("-o,--output", options->output, "File that is written");
  path.needs(output);
  output.needs(path);
  command.flag("--value", options->value, "Of a data box only its value, as a picture").needs(path);
  command.runs([options] { return boxes(*options); });
}

} // namespace qv::tool
