// What the Win32 names do not offer about a file: locks between programs, links, and what a new file takes over from
// the one that it replaces. On Windows there are no such locks, and a new file has what its folder gives it: share
// modes keep a second writer away, and who may read a file is inherited.
#pragma once

#include "qv/win32.h"

#include <utility>

namespace qv::tool {

/// A file by the system's own descriptor, open for reading. Everything here is best effort where the file system lacks
/// the means, and then answers true.
class FileDescriptor {
public:
  FileDescriptor() = default;
  /// Does not follow a symbolic link at the end of the path.
  explicit FileDescriptor(const WString& path);
  ~FileDescriptor() { close(); }
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }

  bool is_open() const { return descriptor_ >= 0; }
  void close();

  /// Locks the file against others who lock it too, until it is closed. False when another has it.
  bool try_lock() const;
  /// The same, but waits. Throws Interrupted when a signal comes meanwhile.
  void lock() const;
  /// Whether the path still leads to this file.
  bool is_at(const WString& path) const;

  /// Owner, extended attributes and mode of the file at that path. Where the group cannot be kept, it may do no more
  /// than all others.
  void take_after(const WString& path) const;
  /// Its owner alone.
  void take_owner_of(const WString& path) const;
  /// The mode that a new file has by default.
  void take_default_mode() const;

private:
  int descriptor_ = -1;
};

/// While it lives, files that this process makes may be read and written by their owner alone.
class PrivateCreation {
public:
  PrivateCreation();
  ~PrivateCreation();
  PrivateCreation(const PrivateCreation&) = delete;
  PrivateCreation& operator=(const PrivateCreation&) = delete;

private:
  unsigned previous_;
};

/// Whether another file can be renamed over the one at that path without harm: it has no other names, is no mount
/// point, and its folder lets its user do so.
bool can_be_replaced(const WString& path);

/// Whether nobody but this user, or the owner of `kin`, can have written the regular file at that path.
bool is_trusted(const WString& path, const WString& kin);

} // namespace qv::tool
