#include "tools/qv/file/open_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/text.h"

namespace qv::tool {

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

} // namespace qv::tool
