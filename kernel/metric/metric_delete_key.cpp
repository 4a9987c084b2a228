// Deleting a key with everything below it.
#include "qv/metric.h"

#include <algorithm>
#include <exception>

namespace {

constexpr DWORD kMostKeyNameChars = 256; ///< with the terminator

/// The first sub-key of a key. ERROR_NO_MORE_ITEMS when there is none.
LONG first_sub_key(HKEY root, const qv::WString& path, qv::WString& name) {
  HKEY key = nullptr;
  LONG error = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key);
  if (error != ERROR_SUCCESS) return error;
  WCHAR text[kMostKeyNameChars];
  DWORD length = kMostKeyNameChars;
  error = RegEnumKeyExW(key, 0, text, &length, nullptr, nullptr, nullptr, nullptr);
  if (error == ERROR_SUCCESS) name.assign(text, length);
  RegCloseKey(key);
  return error;
}

/// Goes down to a key without sub-keys, deletes it and goes back up. Ends at the first key that cannot be deleted.
LONG delete_tree(HKEY root, const WCHAR* top) {
  qv::WString path = top;
  const size_t top_length = path.size();
  for (;;) {
    qv::WString name;
    LONG error = first_sub_key(root, path, name);
    if (error == ERROR_SUCCESS) {
      path += WCHAR{'\\'};
      path += name;
      continue;
    }
    if (error == ERROR_NO_MORE_ITEMS) error = RegDeleteKeyW(root, path.c_str());
    if (error != ERROR_SUCCESS || path.size() <= top_length) return error;
    path.erase(std::max(path.rfind(WCHAR{'\\'}), top_length));
  }
}

} // namespace

LONG QvRegDeleteKey(HKEY root, const WCHAR* path) {
  if (!path || *path == 0) return ERROR_INVALID_PARAMETER;
  try {
    return delete_tree(root, path);
  } catch (const std::exception&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}
