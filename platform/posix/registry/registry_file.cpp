// The registry's file: where it is, whose it is, and how it is made.
#include "platform/posix/registry/registry_store.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::platform {

namespace {

const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value && *value != '\0' ? value : nullptr;
}

/// Of a file or folder that could not be made.
LONG making_error() {
  return errno == ENOSPC ? ERROR_DISK_FULL : errno == EIO ? ERROR_REGISTRY_IO_FAILED : ERROR_ACCESS_DENIED;
}

LONG make_folders(const std::string& file) {
  const std::filesystem::path folder = std::filesystem::path(file).parent_path();
  std::error_code error;
  if (folder.empty() || std::filesystem::exists(folder, error)) return ERROR_SUCCESS;
  std::filesystem::create_directories(folder.parent_path(), error);
  if (mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) return ERROR_SUCCESS;
  return making_error();
}

} // namespace

std::string registry_file() {
  // A relative name begins with its folder, so that no name ("file:", ":memory:") means something else to SQLite.
  if (const char* file = variable("QV_REGISTRY")) return *file == '/' ? file : std::string("./") + file;
  constexpr const char* kBelow = "/QvKernel/registry.db";
  const char* folder = variable("XDG_CONFIG_HOME");
  // The XDG Base Directory standard has relative paths ignored.
  if (folder && *folder == '/') return std::string(folder) + kBelow;
  if (const char* home = variable("HOME")) return std::string(home) + "/.config" + kBelow;
  return {};
}

LONG check_header(const std::string& file) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) return ERROR_FILE_NOT_FOUND;
  if (error || status.type() != std::filesystem::file_type::regular) return ERROR_ACCESS_DENIED;
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return ERROR_ACCESS_DENIED;
  unsigned char header[72] = {};
  stream.read(reinterpret_cast<char*>(header), sizeof header);
  if (stream.gcount() == 0) return ERROR_SUCCESS; // about to be made, by someone
  const int64_t id = int64_t{header[68]} << 24 | header[69] << 16 | header[70] << 8 | header[71];
  const bool ours = std::equal(header, header + 16, "SQLite format 3") && id == kApplicationId;
  return stream.gcount() == sizeof header && ours ? ERROR_SUCCESS : ERROR_BADDB;
}

LONG make_file(const std::string& file) {
  const LONG error = make_folders(file);
  if (error != ERROR_SUCCESS) return error;
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return making_error();
  ::close(descriptor);
  return ERROR_SUCCESS;
}

std::string uri_of(const std::string& path) {
  std::string text = path.starts_with('/') ? "file://" : "file:";
  for (const char character : path) {
    if (character == '%' || character == '?' || character == '#') {
      constexpr const char* kDigits = "0123456789ABCDEF";
      text += {'%', kDigits[character >> 4], kDigits[character & 15]};
    } else {
      text += character;
    }
  }
  return text;
}

} // namespace qv::platform
