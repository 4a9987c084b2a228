#include "tools/qv/file/container.h"

#include "tools/qv/failure.h"
#include "tools/qv/named_rows.h"
#include "tools/qv/text.h"

#include <cctype>
#include <filesystem>
#include <string_view>

namespace qv::tool {

namespace {

struct Option {
  const char* name;
  Container container;
};

constexpr Option kOptions[] = {{"wav", Container::kRiff},
                               {"rf64", Container::kRf64},
                               {"w64", Container::kWave64},
                               {"aiff", Container::kAiff},
                               {"aifc", Container::kAifc}};

struct Suffix {
  std::string_view suffix;
  Container container;
};

constexpr Suffix kSuffixes[] = {{".wav", Container::kRiff},  {".wave", Container::kRiff},  {".bwf", Container::kRiff},
                                {".rf64", Container::kRf64}, {".w64", Container::kWave64}, {".aif", Container::kAiff},
                                {".aiff", Container::kAiff}, {".aifc", Container::kAifc},  {".flac", Container::kFlac},
                                {".ogg", Container::kOgg},   {".oga", Container::kOgg}};

std::string suffix_of(const std::string& file_name) {
  std::string suffix = utf8(std::filesystem::path(path_from(file_name)).extension().string<WCHAR>());
  for (char& character : suffix)
    character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  return suffix;
}

} // namespace

const char* name_of(Container container) {
  constexpr const char* kNames[] = {"RIFF", "RF64", "wave64", "aiff", "aifc", "FLAC", "Ogg", "MP3"};
  return kNames[static_cast<size_t>(container)];
}

std::vector<std::string> container_names() { return names_of(kOptions); }

Container container_of(const std::string& file_name, const std::string& option) {
  if (!option.empty()) return row_of(kOptions, option).container;
  const std::string suffix = suffix_of(file_name);
  if (suffix.empty()) return Container::kRiff;
  std::string written;
  for (const Suffix& row : kSuffixes) {
    if (row.suffix == suffix) return row.container;
    written += (written.empty() ? "" : ", ") + std::string(row.suffix);
  }
  throw Failure(file_name, "a file of this suffix is not written, only " + written + "; --container takes any name");
}

} // namespace qv::tool
