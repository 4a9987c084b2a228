// Sources of bytes for BoxReader.
#pragma once

#include "qv/export.h"
#include "qv/win32.h"

#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>

namespace fileutil {

/// A buffered input stream over a file, for BoxReader: a buffer of 4096 bytes, and reads larger than that go straight
/// to their destination. Seeking within the buffer reads nothing, elsewhere it costs no system call until the next
/// read.
class QV_API ifstream : public std::istream {
public:
  ifstream();
  /// Opens as open() does.
  explicit ifstream(const WCHAR* path);
  ~ifstream() override;

  /// Opens an existing file for reading, shared with readers, with the sequential-scan hint. Sets failbit where it
  /// cannot be opened.
  void open(const WCHAR* path);
  bool is_open() const;
  void close();
  /// The file's length in bytes; all ones where it cannot be told.
  uint64_t length() const;

private:
  class Buffer;
  std::unique_ptr<Buffer> buffer_;
};

/// A source: a stream, and what can be told of it.
class QV_API DataHandler {
public:
  static constexpr uint64_t kUnknownLength = ~uint64_t{0};

  virtual ~DataHandler() = default;
  virtual std::istream& in() = 0;
  /// Moves forward; by seeking where the stream can, otherwise by reading. Returns how far it came, which is less at
  /// the end of what is there.
  virtual uint64_t skip(uint64_t bytes) = 0;
  /// Bytes from the position at which a reader began; kUnknownLength where that cannot be told.
  virtual uint64_t length() const = 0;
  /// Back to the position at which it began; false where the stream cannot seek.
  virtual bool rewind() = 0;
};

} // namespace fileutil
