#include "tools/qv/file/disk/output_file.h"

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
constexpr char kTemporaryEnd[] = ".tmp";

/// What the temporary names of one target begin with: who writes it next finds what was left behind.
std::string temporary_start(const WString& target) {
  uint32_t hash = 2'166'136'261; // FNV-1a
  for (const unsigned char byte : fs::path(target).filename().u8string())
    hash = (hash ^ byte) * 16'777'619;
  char name[16];
  std::snprintf(name, sizeof name, ".qv-%08x", static_cast<unsigned>(hash));
  return name;
}

WString temporary_path(const WString& target) {
  char random[16];
  std::snprintf(random, sizeof random, "%08x", static_cast<unsigned>(std::random_device()()));
  const std::string name = temporary_start(target) + random + kTemporaryEnd;
  return (fs::path(target).parent_path() / name).string<WCHAR>();
}

} // namespace

OutputFile::OutputFile(const std::string& name, Attributes attributes)
    : name_(name), attributes_(attributes), target_(real_path(name)) {
  check_target();
  create();
}

OutputFile::OutputFile(const std::string& name, const std::string& input_name) : name_(name), target_(real_path(name)) {
  check_target();
  std::error_code error;
  if (fs::equivalent(fs::path(path_from(input_name)), fs::path(target_), error))
    throw Failure(name_, "is the input file itself");
  create();
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

/// Removes temporary files of the same target whose writer is dead: it no longer holds their lock.
void OutputFile::remove_abandoned() const {
  const std::string start = temporary_start(target_);
  const fs::path folder = fs::path(target_).parent_path();
  std::error_code error;
  for (fs::directory_iterator at(folder.empty() ? "." : folder, error), end; !error && at != end; at.increment(error)) {
    const std::string name = at->path().filename().string();
    if (!name.starts_with(start) || !name.ends_with(kTemporaryEnd)) continue;
    const WString path = (folder / name).string<WCHAR>();
    if (!is_trusted(path, path)) continue;
    const FileDescriptor left(path);
    // Windows deletes no file that is open.
    if (left.try_lock()) DeleteFileW(path.c_str());
  }
}

/// Whether the name was free and the file is now there, and held.
bool OutputFile::try_name(const WString& candidate) {
  {
    const PrivateCreation alone;
    file_ = OpenFile(CreateFileW(candidate.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  }
  if (!file_.is_open()) return false;
  temporary_ = candidate;
  lock_ = FileDescriptor(candidate);
  // Another program may have taken it for abandoned before it was locked.
  if (lock_.try_lock() && lock_.is_at(candidate)) return true;
  file_.close();
  DeleteFileW(candidate.c_str());
  temporary_.clear();
  SetLastError(ERROR_FILE_EXISTS);
  return false;
}

void OutputFile::create() {
  watch_interruption();
  remove_abandoned();
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    if (try_name(temporary_path(target_))) return;
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND) throw Failure(name_, "no such folder");
    if (error != ERROR_FILE_EXISTS) throw Failure(name_, "cannot be written: " + system_error_text(error));
  }
  throw Failure(name_, "no temporary name is free in its folder");
}

void OutputFile::write_failed() const {
  const DWORD error = GetLastError();
  check_interruption(); // a signal may be the reason
  throw Failure(name_, "cannot be written: " + system_error_text(error));
}

void OutputFile::append(const void* bytes, DWORD count) const {
  check_interruption();
  DWORD done = 0;
  if (!WriteFile(file_, bytes, count, &done, nullptr) || done != count) write_failed();
}

void OutputFile::append(HANDLE from, const std::string& from_name, uint64_t offset, uint64_t count) const {
  constexpr uint64_t kBlockBytes = 1 << 20;
  std::vector<BYTE> block(static_cast<size_t>(std::min(count, kBlockBytes)));
  if (!move_to(from, offset)) throw Failure(from_name, system_error_text(GetLastError()));
  while (count > 0) {
    const auto part = static_cast<DWORD>(std::min<uint64_t>(count, block.size()));
    DWORD done = 0;
    if (!ReadFile(from, block.data(), part, &done, nullptr))
      throw Failure(from_name, system_error_text(GetLastError()));
    if (done != part) throw Failure(from_name, "the file became shorter while it was read");
    append(block.data(), part);
    count -= part;
  }
}

void OutputFile::take_attributes() const {
  if (!lock_.is_open()) return;
  const bool replaces = GetFileAttributesW(target_.c_str()) != INVALID_FILE_ATTRIBUTES;
  if (attributes_ == Attributes::kPrivate) return;
  if (replaces)
    lock_.take_after(target_);
  else
    lock_.take_default_mode();
}

void OutputFile::commit(uint64_t expected_bytes) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file_, &size)) write_failed();
  if (static_cast<uint64_t>(size.QuadPart) != expected_bytes) throw Failure(name_, "could not be written whole");
  take_attributes();
  if (!FlushFileBuffers(file_) || !file_.close()) write_failed();
  check_interruption();
  if (!MoveFileExW(temporary_.c_str(), target_.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    const DWORD error = GetLastError();
    // The name may have changed all the same, and only its folder have failed.
    if (GetFileAttributesW(temporary_.c_str()) != INVALID_FILE_ATTRIBUTES) {
      SetLastError(error);
      write_failed();
    }
    temporary_.clear();
    throw Failure(name_, "was written whole, but may not outlive a loss of power: " + system_error_text(error));
  }
  temporary_.clear();
}

} // namespace qv::tool
