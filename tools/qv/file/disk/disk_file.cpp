#include "tools/qv/file/disk/disk_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

#include <filesystem>

namespace qv::tool {

namespace fs = std::filesystem;

OpenFile open_existing(const std::string& name, DWORD access, DWORD flags) {
  const WString path = path_from(name);
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
    throw Failure(name, "is a folder");
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DEVICE))
    throw Failure(name, "is not a regular file");
  OpenFile file(CreateFileW(path.c_str(), access, FILE_SHARE_READ, nullptr, OPEN_EXISTING, flags, nullptr));
  if (!file.is_open()) throw Failure(name, system_error_text(GetLastError()));
  return file;
}

WString real_path(const std::string& name) {
  constexpr int kMaxLinks = 40; // as Linux
  fs::path path(path_from(name));
  std::error_code error;
  for (int links = 0; fs::is_symlink(path, error); ++links) {
    const fs::path target = fs::read_symlink(path, error);
    if (error || links == kMaxLinks) throw Failure(name, "its symbolic links lead nowhere");
    path = path.parent_path() / target; // which an absolute one replaces
  }
  return path.string<WCHAR>();
}

} // namespace qv::tool
