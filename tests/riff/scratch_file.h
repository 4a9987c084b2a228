// A real file for one test: created with given bytes, open for reading and writing, removed at the end.
#pragma once

#include "tests/riff/riff_bytes.h"

#include "qv/riff.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace riff_test {

class ScratchFile {
public:
  explicit ScratchFile(const Bytes& bytes = {});
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  operator HANDLE() const { return handle_; }
  qv::WString name() const { return path_.string<WCHAR>(); }

  /// Closes the handle and removes the file, for functions that make one of that name.
  void erase();
  bool exists() const { return std::filesystem::exists(path_); }
  /// Closes the handle, for functions that open the file themselves and do not share it with a writer.
  void close();
  /// The file's bytes as another reader sees them.
  Bytes contents() const;
  int64_t position() const;
  void move_to(int64_t position) const;

private:
  std::filesystem::path path_;
  HANDLE handle_;
};

/// Does `check` with a file that was cut after each byte from `from` on, and with the whole one; the file must not
/// grow.
template <class Check>
void cut_after_each_byte(const Bytes& whole, size_t from, Check check) {
  for (size_t length = from; length <= whole.size(); ++length) {
    SCOPED_TRACE(testing::Message() << "cut after " << length);
    const ScratchFile file(whole.substr(0, length));
    check(file, length);
    EXPECT_LE(file.contents().size(), length);
  }
}

} // namespace riff_test
