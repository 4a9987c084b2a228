// A file that appears whole under its name or not at all.
#pragma once

#include "tools/qv/file/open_file.h"

#include <string>

namespace qv::tool {

/// Written under a temporary name in the folder of the final one. Unless commit() is reached, the destructor removes
/// it.
class OutputFile {
public:
  /// Throws Failure when the name cannot be written to, or is the input's file.
  OutputFile(const std::string& name, const std::string& input_name);
  /// For a file that takes the place of the one it is made from.
  explicit OutputFile(const std::string& name);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  operator HANDLE() const { return file_; }
  const std::string& name() const { return name_; }

  /// Writes at the position.
  void append(const void* bytes, DWORD count) const;
  /// The same with bytes of another file. Throws Interrupted when a signal has come (see interruption.h).
  void append(HANDLE from, const std::string& from_name, uint64_t offset, uint64_t count) const;
  /// Puts the file in its place, where it replaces what was there. Throws Failure, also when the file does not have
  /// `expected_bytes` bytes.
  void commit(uint64_t expected_bytes);
  /// Throws Failure for a write that has just failed.
  [[noreturn]] void write_failed() const;

private:
  void check_target() const;
  void create_temporary();
  void keep_permissions() const;

  std::string name_;
  WString target_;    ///< its path behind symbolic links
  WString temporary_; ///< the path until then; empty afterwards
  OpenFile file_;
};

} // namespace qv::tool
