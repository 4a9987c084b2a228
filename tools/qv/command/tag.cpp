// qv tag: the texts of files with audio, and the fields of their broadcast chunk.
#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/json.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/named_rows.h"
#include "tools/qv/tag/recover.h"
#include "tools/qv/tag/tag_change.h"
#include "tools/qv/text.h"
#include "tools/qv/undo/change_file.h"

#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

struct PageName {
  const char* name;
  CodePage page;
};

constexpr PageName kPages[] = {{"utf-8", CodePage::kUtf8}, {"1252", CodePage::k1252}};

struct Options {
  std::vector<std::string> words; ///< files, and KEY=TEXT
  std::vector<std::string> removed;
  bool clear = false;
  bool json = false;
  bool recovers = false;
  std::string page;

  std::vector<std::string> files; ///< as check() sorts the words
  TagChange change;
};

TagKey key_from(const std::string& word) {
  const std::optional<TagKey> key = tag_key(word);
  if (!key) throw WrongUsage("KEY", word + " is no name of a text and no id of four characters");
  return *key;
}

/// A setting has a '=' and before it no '/', by which a file of such a name can be told from it: ./NAME=1.wav.
size_t equals_of_setting(const std::string& word) {
  const size_t equals = word.find('=');
  return word.substr(0, equals).find_first_of("/\\") == std::string::npos ? equals : std::string::npos;
}

void check(Options& options) {
  for (const std::string& word : options.removed)
    options.change.settings.push_back({word, key_from(word), std::nullopt});
  for (const std::string& word : options.words) {
    const size_t equals = equals_of_setting(word);
    if (equals == std::string::npos) {
      options.files.push_back(word);
      continue;
    }
    const std::string name = word.substr(0, equals);
    const TagKey key = key_from(name);
    if (key.is_broadcast_chunk) throw WrongUsage("KEY", name + " can only be removed");
    options.change.settings.push_back({name, key, word.substr(equals + 1)});
  }
  if (options.files.empty()) throw WrongUsage("FILE", "is required");
  options.change.clear = options.clear;
  if (options.recovers && !options.change.is_empty()) throw WrongUsage("--recover", "takes no texts");
  if (!options.page.empty()) options.change.page = row_of(kPages, options.page).page;
}

Json broadcast_json(const Broadcast& broadcast) {
  Json json = Json::object({});
  for (int k = 0; k < kBroadcastFields; ++k) {
    const auto field = static_cast<BroadcastField>(k);
    const std::string text = broadcast.text(field);
    const char* const name = broadcast_field_name(field);
    if (field == BroadcastField::kTimeReference)
      json.set(name, broadcast.time_reference());
    else if (!text.empty())
      json.set(name, text);
  }
  return json;
}

Json texts_json(const AudioFile& audio) {
  const InfoList list = read_info_list(audio);
  Json tags = Json::object({});
  for (const InfoItem& item : list.items)
    if (!tags.find(code_text(item.id))) tags.set(code_text(item.id), item.text); // the first counts
  Json json = Json::object({{"file", audio.name}, {"container", audio.container}, {"tags", tags}});
  if (!list.encoding.is_ascii) json.set("code_page", static_cast<WORD>(list.encoding.page));
  if (const std::optional<Broadcast> broadcast = broadcast_of(audio)) json.set("bext", broadcast_json(*broadcast));
  return json;
}

void print_texts(const AudioFile& audio) {
  for (const InfoItem& item : read_info_list(audio).items)
    std::cout << printable_code(item.id) << "=" << printable(item.text) << "\n";
  const std::optional<Broadcast> broadcast = broadcast_of(audio);
  for (int k = 0; broadcast && k < kBroadcastFields; ++k) {
    const auto field = static_cast<BroadcastField>(k);
    const std::string text = broadcast->text(field);
    if (!text.empty()) std::cout << broadcast_field_name(field) << "=" << printable(text) << "\n";
  }
}

AudioFile read_texts(const std::string& name) {
  AudioFile audio = read_audio_file(name);
  const std::string problem = read_info_list(audio).problem;
  if (!problem.empty()) print_warning(name, "its texts hold " + problem + ": the others are read");
  return audio;
}

void write(const LockedInput& input, AudioFile& audio, const ChunkEdit& edit) {
  if (!input.can_be_replaced()) {
    const std::vector<Replacement> replacements = edit.in_place();
    audio.file.close();
    return change_file(input, replacements, UndoPolicy::kUntilDone);
  }
  OutputFile output(input.name());
  const uint64_t bytes = edit.write(output);
  // Closed before the new file takes its place: Windows replaces no file that is open.
  audio.file.close();
  output.commit(bytes);
}

void change_texts_of(const std::string& name, const TagChange& change) {
  const LockedInput input(name);
  if (settle_change(input) == Settled::kUndone) print_warning(name, "a change that was broken off has been undone");
  AudioFile audio = inspect_audio_file(name);
  const Form form = read_form(audio);
  ChunkEdit edit(audio, form);
  std::vector<std::string> remarks = audio.warnings;
  for (const std::string& remark : plan_change(audio, change, edit))
    remarks.push_back(remark);
  if (!form.remark.empty()) remarks.push_back(form.remark);
  write(input, audio, edit);
  for (const std::string& remark : remarks)
    print_warning(name, remark);
}

/// Works on all files, also on those behind one that fails.
int recover(const Options& options) {
  int exit_code = kSuccess;
  for (const std::string& name : options.files) {
    try {
      const std::string done = recover_change_of(name);
      std::cout << printable(name) << ": " << done << std::endl;
    } catch (const Failure& failure) {
      print_error(failure.what());
      exit_code = kWorkFailed;
    }
  }
  return exit_code;
}

/// The same.
int tag(const Options& options) {
  if (options.recovers) return recover(options);
  int exit_code = kSuccess;
  Json all = Json::array();
  for (const std::string& name : options.files) {
    try {
      if (!options.change.is_empty()) change_texts_of(name, options.change);
      if (options.json) all.push_back(texts_json(read_texts(name)));
      if (options.json || !options.change.is_empty()) continue;
      const AudioFile audio = read_texts(name);
      if (options.files.size() > 1) std::cout << printable(name) << "\n";
      print_texts(audio);
    } catch (const Failure& failure) {
      print_error(failure.what());
      exit_code = kWorkFailed;
    }
  }
  if (!options.json || (options.files.size() == 1 && all.items().empty())) return exit_code;
  std::cout << (options.files.size() == 1 ? all.items()[0] : all).dump() << "\n";
  return exit_code;
}

} // namespace

void add_tag(const Command& program) {
  auto options = std::make_shared<Options>();
  const Command command = program.subcommand("tag", "Print or change the texts of files with audio");
  command
      .option("FILE", options->words,
              "Files, and KEY=TEXT: texts to set, each under a name (title, artist, description, ...) or an id of four "
              "characters (INAM); a file whose name has a = is given with its folder: ./a=b.wav")
      .required();
  command.option("--remove", options->removed, "Texts to remove, by name or id; bext: the whole broadcast chunk")
      .takes_one()
      .type_name("KEY");
  command.flag("--clear", options->clear, "Remove all texts that are there first (the broadcast chunk stays)");
  Option code_page =
      command.option("--code-page", options->page, "Store all texts in this code page; utf-8 unless all are ASCII")
          .one_of(names_of(kPages));
  Option json = command.flag("--json", options->json, "Print JSON: an object for one file, an array for several");
  command
      .flag("--recover", options->recovers,
            "Finish or undo a change of a file, also of an MP4 file, that was broken off; nothing else")
      .excludes(code_page)
      .excludes(json);
  command.runs([options] { return tag(*options); }, [options] { check(*options); });
}

} // namespace qv::tool
