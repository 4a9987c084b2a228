// Paths of scratch files, removed at the end of a test.
#pragma once

#include "qv/win32.h"

#include <filesystem>
#include <fstream>
#include <string>

class ScratchPath {
public:
  explicit ScratchPath(const std::string& name) : path_(std::filesystem::temp_directory_path() / unique(name)) {}
  ScratchPath(const ScratchPath&) = delete;
  ScratchPath& operator=(const ScratchPath&) = delete;
  ~ScratchPath() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::filesystem::path& path() const { return path_; }
  qv::WString text() const { return path_.template string<WCHAR>(); }

  HANDLE open(DWORD access, DWORD disposition, DWORD share = FILE_SHARE_READ) const {
    return CreateFileW(text().c_str(), access, share, nullptr, disposition, 0, nullptr);
  }
  void write(const std::string& bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
  std::string read() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

private:
  static std::string unique(const std::string& name) {
    static int counter = 0;
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return "qv-" + std::to_string(now.QuadPart) + "-" + std::to_string(++counter) + "-" + name;
  }

  std::filesystem::path path_;
};
