// qv tag: the texts in the "INFO" list of a wave file.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/output_file.h"
#include "tools/qv/text.h"

#include "qv/riff.h"
#include "qv/summary.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>
#include <optional>

namespace qv::tool {

namespace {

constexpr uint64_t kRiffLimit = 0xFFFFFFF0;

struct Options {
  std::string file;
  std::vector<std::string> texts; ///< ID=TEXT
  std::vector<std::string> removed;
  bool clear = false;
};

class Summary : public _summarylisttag {
public:
  Summary() = default;
  ~Summary() { QvSummary_Free(this); }
  Summary(const Summary&) = delete;
  Summary& operator=(const Summary&) = delete;
};

DWORD id_from(const std::string& text) {
  const bool printable = std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
  if (text.size() != 4 || !printable) throw WrongUsage("ID", text + " is no id of four characters");
  DWORD id = 0;
  std::memcpy(&id, text.data(), sizeof id);
  return id;
}

void check_ids(const Options& options) {
  for (const std::string& text : options.texts) {
    const size_t equals = text.find('=');
    if (equals == std::string::npos) throw WrongUsage("ID=TEXT", text + " has no =");
    id_from(text.substr(0, equals));
  }
  for (const std::string& id : options.removed)
    id_from(id);
}

void set(Summary& list, const std::string& file, DWORD id, const WCHAR* text) {
  const HRESULT result = QvSummary_SetItem(&list, id, text);
  if (FAILED(result)) throw Failure(file, result_text(result));
}

void change(Summary& list, const Options& options) {
  if (options.clear) QvSummary_Free(&list);
  for (const std::string& name : options.removed)
    while (QvSummary_GetItemIndex(&list, id_from(name)) >= 0)
      set(list, options.file, id_from(name), nullptr);
  for (const std::string& text : options.texts) {
    const size_t equals = text.find('=');
    const std::optional<WString> value = utf16(text.substr(equals + 1));
    if (!value) throw Failure(options.file, "the text of " + text.substr(0, equals) + " is not UTF-8");
    set(list, options.file, id_from(text.substr(0, equals)), value->c_str());
  }
}

/// Throws Failure where the chunks do not fill the file: only then can one more be added behind them.
void require_sound_chunks(const AudioFile& input) {
  if (std::strcmp(input.container, "RIFF") != 0) throw Failure(input.name, "is no RIFF wave file");
  if (!input.is_whole) throw Failure(input.name, "its header does not fit the file: nothing can be added to it");
}

/// Replaces the lists of the form "INFO" by one at the file's end.
void replace_list(const OutputFile& file, const Summary& list) {
  HRESULT result = S_OK;
  while (SUCCEEDED(result))
    result = riff_DeleteChunk(file, QVSUMMARY_FORM_INFO, nullptr, 1);
  if (result != QVERR_RIFF_NOTFOUND) throw Failure(file.name(), result_text(result));
  const uint64_t end = size_of(file);
  const BYTE pad = 0;
  DWORD done = 0;
  if (!move_to(file, end) || !WriteFile(file, &pad, end % 2, &done, nullptr)) file.write_failed();
  if (FAILED(QvSummary_Save(file, &list, nullptr))) file.write_failed();
  const uint64_t whole = size_of(file);
  if (whole > kRiffLimit) throw Failure(file.name(), result_text(QVERR_RIFF_TOOBIG));
  if (FAILED(riff_SetRIFFSize(file, static_cast<DWORD>(whole - 8)))) file.write_failed();
}

int print_texts(const AudioFile& input) {
  for (const auto& [id, text] : input.texts)
    std::cout << printable_code(id) << "=" << printable(text) << "\n";
  return kSuccess;
}

int tag(const Options& options) {
  if (options.texts.empty() && options.removed.empty() && !options.clear)
    return print_texts(read_audio_file(options.file, Detail::kAll));
  AudioFile input = read_audio_file(options.file, Detail::kAudio);
  require_sound_chunks(input);
  Summary list;
  if (!load_info_list(input, list)) print_warning(input.name, "its INFO list cannot be read");
  change(list, options);
  OutputFile output(options.file);
  output.append(input.file, options.file, 0, size_of(input.file));
  replace_list(output, list);
  // Closed before the new file takes its place: Windows replaces no file that is open.
  input.file.close();
  output.commit(size_of(output));
  return kSuccess;
}

} // namespace

void add_tag(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command = program.subcommand("tag", "Print or change the texts in the INFO list of a wave file");
  command.option("FILE", options->file, "A RIFF wave file").required();
  command.option("ID=TEXT", options->texts, "Texts to set, each under an id of four characters, such as INAM");
  command.option("--remove", options->removed, "Ids whose texts are removed").takes_one();
  command.flag("--clear", options->clear, "Remove all texts that are there first");
  command.runs([options] { return tag(*options); }, [options] { check_ids(*options); });
}

} // namespace qv::tool
