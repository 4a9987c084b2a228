#include "tests/cli/scratch_folder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cli_test {

namespace fs = std::filesystem;

std::string read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void write_file(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw std::runtime_error("could not write a test file");
}

ScratchFolder::ScratchFolder() {
  std::string path = (fs::temp_directory_path() / "qv-cli-XXXXXX").string();
  if (!mkdtemp(path.data())) throw std::runtime_error("no folder for the test");
  path_ = path;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string ScratchFolder::put(const std::string& name, const std::string& bytes) const {
  write_file(path_ / name, bytes);
  return file(name);
}

std::vector<std::string> ScratchFolder::names() const {
  std::vector<std::string> all;
  for (const fs::directory_entry& entry : fs::directory_iterator(path_))
    all.push_back(entry.path().filename());
  std::sort(all.begin(), all.end());
  return all;
}

} // namespace cli_test
