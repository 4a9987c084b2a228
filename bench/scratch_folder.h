// Where the files of a benchmark are.
#pragma once

#include <filesystem>
#include <string>

namespace bench {

/// In memory, where there is such a folder, so that no disk is measured. Removed at the end.
class ScratchFolder {
public:
  ScratchFolder() { std::filesystem::create_directory(path_); }
  ~ScratchFolder() { std::filesystem::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  std::filesystem::path file(const std::string& name) const { return path_ / name; }

private:
  const std::filesystem::path path_ =
      (std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path()) /
      ("qv-bench-" + std::to_string(std::filesystem::file_time_type::clock::now().time_since_epoch().count()));
};

} // namespace bench
