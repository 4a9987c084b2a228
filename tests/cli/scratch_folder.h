// A folder for one test, removed at the end, and files in it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace cli_test {

std::string read_file(const std::filesystem::path& path);
void write_file(const std::filesystem::path& path, const std::string& bytes);

class ScratchFolder {
public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string file(const std::string& name) const { return (path_ / name).string(); }
  /// Creates a file; answers its path.
  std::string put(const std::string& name, const std::string& bytes) const;
  /// The names in it, sorted.
  std::vector<std::string> names() const;

private:
  std::filesystem::path path_;
};

} // namespace cli_test
