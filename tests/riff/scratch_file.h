// A real file for one test: created with given bytes, open for reading and writing, removed at the end.
#pragma once

#include "tests/riff/riff_bytes.h"

#include "qv/riff.h"

#include <filesystem>

namespace riff_test {

class ScratchFile {
public:
  explicit ScratchFile(const Bytes& bytes = {});
  ~ScratchFile();
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  operator HANDLE() const { return handle_; }
  qv::WString name() const { return path_.string<WCHAR>(); }

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

} // namespace riff_test
