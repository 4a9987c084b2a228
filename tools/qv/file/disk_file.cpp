#include "tools/qv/file/disk_file.h"

#include "tools/qv/failure.h"
#include "tools/qv/long_work.h"
#include "tools/qv/text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <vector>

namespace qv::tool {

namespace fs = std::filesystem;

namespace {

constexpr int kNameAttempts = 16;

WString wide(const fs::path& path) { return path.string<WCHAR>(); }

/// Where a symbolic link leads, so that the link stays and its target is replaced.
fs::path behind_links(const fs::path& path) {
  std::error_code error;
  if (!fs::is_symlink(path, error)) return path;
  const fs::path target = fs::weakly_canonical(path, error);
  return error ? path : target;
}

std::string random_name() {
  std::random_device random;
  char name[32];
  std::snprintf(name, sizeof name, ".qv-%08x%08x.tmp", static_cast<unsigned>(random()),
                static_cast<unsigned>(random()));
  return name;
}

} // namespace

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

OutputFile::OutputFile(const std::string& name) : name_(name), target_(wide(behind_links(path_from(name)))) {
  check_target();
  create_temporary();
}

OutputFile::OutputFile(const std::string& name, const std::string& input_name)
    : name_(name), target_(wide(behind_links(path_from(name)))) {
  check_target();
  std::error_code error;
  if (fs::equivalent(fs::path(path_from(input_name)), fs::path(target_), error))
    throw Failure(name_, "is the input file itself");
  create_temporary();
}

OutputFile::~OutputFile() {
  if (temporary_.empty()) return;
  file_.close();
  DeleteFileW(temporary_.c_str());
}

void OutputFile::check_target() const {
  if (!fs::path(target_).has_filename()) throw Failure(name_, "names a folder");
  const DWORD attributes = GetFileAttributesW(target_.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) throw Failure(name_, "is a folder");
  if (attributes & FILE_ATTRIBUTE_DEVICE) throw Failure(name_, "is not a regular file");
  if (attributes & FILE_ATTRIBUTE_READONLY) throw Failure(name_, "is write-protected");
}

void OutputFile::create_temporary() {
  for (int attempt = 0; attempt < kNameAttempts && !file_.is_open(); ++attempt) {
    const WString candidate = wide(fs::path(target_).parent_path() / random_name());
    file_ = OpenFile(CreateFileW(candidate.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (file_.is_open()) temporary_ = candidate;
    const DWORD error = file_.is_open() ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) throw Failure(name_, "no such folder");
    if (error != ERROR_SUCCESS && error != ERROR_FILE_EXISTS)
      throw Failure(name_, "cannot be written: " + system_error_text(error));
  }
  if (!file_.is_open()) throw Failure(name_, "no temporary name is free in its folder");
}

void OutputFile::write_failed() const {
  const DWORD error = GetLastError();
  throw Failure(name_, "cannot be written: " + system_error_text(error));
}

void OutputFile::append(const void* bytes, DWORD count) const {
  DWORD done = 0;
  if (!WriteFile(file_, bytes, count, &done, nullptr) || done != count) write_failed();
}

void OutputFile::append(HANDLE from, const std::string& from_name, uint64_t offset, uint64_t count) const {
  constexpr uint64_t kBlockBytes = 1 << 20;
  std::vector<BYTE> block(static_cast<size_t>(std::min(count, kBlockBytes)));
  if (!move_to(from, offset)) throw Failure(from_name, system_error_text(GetLastError()));
  while (count > 0) {
    check_interruption();
    const auto part = static_cast<DWORD>(std::min<uint64_t>(count, block.size()));
    DWORD done = 0;
    if (!ReadFile(from, block.data(), part, &done, nullptr))
      throw Failure(from_name, system_error_text(GetLastError()));
    if (done != part) throw Failure(from_name, "the file became shorter while it was read");
    append(block.data(), part);
    count -= part;
  }
}

void OutputFile::keep_permissions() const {
  // Best effort: a file system without permissions is no reason to fail.
  std::error_code error;
  const fs::file_status status = fs::status(fs::path(target_), error);
  if (fs::exists(status)) fs::permissions(fs::path(temporary_), status.permissions(), error);
}

void OutputFile::commit(uint64_t expected_bytes) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file_, &size)) write_failed();
  if (static_cast<uint64_t>(size.QuadPart) != expected_bytes) throw Failure(name_, "could not be written whole");
  if (!FlushFileBuffers(file_) || !file_.close()) write_failed();
  keep_permissions();
  if (!MoveFileExW(temporary_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING)) write_failed();
  temporary_.clear();
}

} // namespace qv::tool
