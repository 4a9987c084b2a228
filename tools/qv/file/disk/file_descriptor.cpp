#include "tools/qv/file/disk/file_descriptor.h"

#include "tools/qv/long_work.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif
#ifdef __linux__
#include <linux/limits.h>
#include <sys/xattr.h>
#endif

namespace qv::tool {

#ifdef _WIN32

FileDescriptor::FileDescriptor(const WString&) : descriptor_(0) {}
void FileDescriptor::close() {}
bool FileDescriptor::try_lock() const { return true; }
void FileDescriptor::lock() const {}
bool FileDescriptor::is_at(const WString&) const { return true; }
void FileDescriptor::take_after(const WString&) const {}
void FileDescriptor::take_owner_of(const WString&) const {}
void FileDescriptor::take_default_mode() const {}
PrivateCreation::PrivateCreation() : previous_(0) {}
PrivateCreation::~PrivateCreation() = default;

bool can_be_replaced(const WString& path) {
  std::error_code error;
  return std::filesystem::hard_link_count(std::filesystem::path(path), error) <= 1 || error;
}

bool is_trusted(const WString& path, const WString&) {
  std::error_code error;
  return std::filesystem::is_regular_file(std::filesystem::path(path), error);
}

#else

namespace {

using Status = struct stat;

std::string bytes_of(const WString& path) { return std::filesystem::path(path).string(); }

constexpr mode_t kPermissions = 0777;

/// The mode for a file whose group could not be kept.
mode_t without_group(mode_t mode) { return (mode & 0707) | (mode & 0007) << 3; }

/// Extended attributes, access lists among them: those that this user may set.
void copy_extended_attributes([[maybe_unused]] const std::string& from, [[maybe_unused]] int to) {
#ifdef __linux__
  std::vector<char> names(XATTR_LIST_MAX);
  const ssize_t length = listxattr(from.c_str(), names.data(), names.size());
  std::vector<char> value(length > 0 ? XATTR_SIZE_MAX : 0);
  for (ssize_t at = 0; at < length;) {
    const std::string name = names.data() + at;
    const ssize_t bytes = getxattr(from.c_str(), name.c_str(), value.data(), value.size());
    if (bytes >= 0) fsetxattr(to, name.c_str(), value.data(), static_cast<size_t>(bytes), 0);
    at += static_cast<ssize_t>(name.size() + 1);
  }
#endif
}

/// A file that another one is mounted on is no plain name of its folder.
bool is_mount_point([[maybe_unused]] const std::string& path, [[maybe_unused]] const std::string& folder) {
#if defined(__linux__) && defined(STATX_MNT_ID)
  struct statx own {};
  struct statx around {};
  return statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &own) == 0 &&
         statx(AT_FDCWD, folder.c_str(), 0, STATX_MNT_ID, &around) == 0 && own.stx_mnt_id != around.stx_mnt_id;
#else
  return false;
#endif
}

} // namespace

FileDescriptor::FileDescriptor(const WString& path)
    : descriptor_(open(bytes_of(path).c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW)) {}

void FileDescriptor::close() {
  if (is_open()) ::close(std::exchange(descriptor_, -1));
}

bool FileDescriptor::try_lock() const { return flock(descriptor_, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK; }

void FileDescriptor::lock() const {
  while (flock(descriptor_, LOCK_EX) != 0 && errno == EINTR)
    check_interruption();
}

bool FileDescriptor::is_at(const WString& path) const {
  Status own;
  Status there;
  return fstat(descriptor_, &own) == 0 && lstat(bytes_of(path).c_str(), &there) == 0 && own.st_ino == there.st_ino &&
         own.st_dev == there.st_dev;
}

void FileDescriptor::take_after(const WString& path) const {
  const std::string from = bytes_of(path);
  Status status;
  if (stat(from.c_str(), &status) != 0) return;
  const bool keeps_owner = fchown(descriptor_, status.st_uid, status.st_gid) == 0;
  const bool keeps_group = keeps_owner || fchown(descriptor_, static_cast<uid_t>(-1), status.st_gid) == 0;
  copy_extended_attributes(from, descriptor_);
  // The mode last: a new owner clears some of it, and an access list changes it.
  const mode_t mode = status.st_mode & kPermissions;
  fchmod(descriptor_, keeps_group ? mode : without_group(mode));
}

void FileDescriptor::take_owner_of(const WString& path) const {
  Status status;
  if (stat(bytes_of(path).c_str(), &status) != 0) return;
  if (fchown(descriptor_, status.st_uid, status.st_gid) != 0) return; // it stays this user's
}

void FileDescriptor::take_default_mode() const {
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(descriptor_, 0666 & ~mask);
}

PrivateCreation::PrivateCreation() : previous_(umask(077)) {}
PrivateCreation::~PrivateCreation() { umask(static_cast<mode_t>(previous_)); }

bool can_be_replaced(const WString& path) {
  const std::string name = bytes_of(path);
  const std::string parent = std::filesystem::path(name).parent_path().string();
  const std::string folder = parent.empty() ? "." : parent;
  Status file;
  Status around;
  if (stat(name.c_str(), &file) != 0 || stat(folder.c_str(), &around) != 0) return true;
  const uid_t user = geteuid();
  const bool is_sticky = (around.st_mode & S_ISVTX) && user != 0 && user != file.st_uid && user != around.st_uid;
  return file.st_nlink == 1 && !is_sticky && !is_mount_point(name, folder) && access(folder.c_str(), W_OK | X_OK) == 0;
}

bool is_trusted(const WString& path, const WString& kin) {
  Status file;
  Status owner;
  if (lstat(bytes_of(path).c_str(), &file) != 0 || !S_ISREG(file.st_mode) || (file.st_mode & 022)) return false;
  return file.st_uid == geteuid() || (stat(bytes_of(kin).c_str(), &owner) == 0 && file.st_uid == owner.st_uid);
}

#endif

} // namespace qv::tool
