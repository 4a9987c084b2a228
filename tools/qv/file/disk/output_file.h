// Files as the program writes them: whole under their name, or not at all.
#pragma once

#include "tools/qv/file/disk/disk_file.h"
#include "tools/qv/file/disk/file_descriptor.h"

namespace qv::tool {

/// A file that appears whole under its name or not at all: written under a temporary name in the folder of the final
/// one. Unless commit() is reached, the destructor removes it; what a killed process has left is removed by the next
/// one that writes the same file. From its making on, signals that ask for an end are watched: append() and commit()
/// throw Interrupted when one has come (see long_work.h).
class OutputFile {
public:
  /// What becomes of owner, mode and extended attributes.
  enum class Attributes {
    kUsual,  ///< those of the file that is replaced, or what a new file has by default
    kPrivate ///< for its owner alone
  };

  /// Throws Failure when the name cannot be written to, or is the input's file.
  OutputFile(const std::string& name, const std::string& input_name);
  /// The same for a file that takes the place of the one it is made from.
  explicit OutputFile(const std::string& name, Attributes attributes = Attributes::kUsual);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  operator HANDLE() const { return file_; }
  const std::string& name() const { return name_; }

  /// Writes at the position. Throws Failure.
  void append(const void* bytes, DWORD count) const;
  /// The same with bytes of another file.
  void append(HANDLE from, const std::string& from_name, uint64_t offset, uint64_t count) const;
  /// Puts the file in its place, where it replaces what was there, and makes that last. Throws Failure, also when the
  /// file does not have `expected_bytes` bytes.
  void commit(uint64_t expected_bytes);
  /// Throws Failure for a write that has just failed.
  [[noreturn]] void write_failed() const;

private:
  void create();
  void check_target() const;
  void remove_abandoned() const;
  bool try_name(const WString& candidate);
  void take_attributes() const;

  std::string name_;
  Attributes attributes_ = Attributes::kUsual;
  WString target_;    ///< its path behind symbolic links
  WString temporary_; ///< the path until then; empty afterwards
  OpenFile file_;
  FileDescriptor lock_; ///< tells others that the temporary file is being written
};

} // namespace qv::tool
