// A file that appears whole or not at all, as a standard stream, for what writes to one.
#pragma once

#include "tools/qv/file/disk/output_file.h"

#include <exception>
#include <ios>
#include <streambuf>
#include <vector>

namespace qv::tool {

/// Writes to an OutputFile, which must outlive it, at any position. A stream gets it as its buffer:
///
///     OutputBuffer buffer(file);
///     std::ofstream stream;
///     static_cast<std::ios&>(stream).rdbuf(&buffer);
///
/// What goes wrong sets the stream's badbit, as streams do, and is thrown by finish().
class OutputBuffer : public std::streambuf {
public:
  explicit OutputBuffer(const OutputFile& file);

  /// Writes what is held back. Throws what has gone wrong here or before: Failure or Interrupted.
  void finish();

protected:
  int_type overflow(int_type byte) override;
  int sync() override;
  pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override;
  pos_type seekpos(pos_type position, std::ios::openmode which) override;

private:
  bool flush();
  void hold_nothing() { setp(bytes_.data(), bytes_.data() + bytes_.size()); }

  const OutputFile& file_;
  std::vector<char> bytes_;
  uint64_t position_ = 0; ///< of the first byte held back
  std::exception_ptr failure_;
};

} // namespace qv::tool
