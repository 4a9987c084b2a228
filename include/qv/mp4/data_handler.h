// Sources of bytes for BoxReader.
//
// Positions count from where the source stood when its handler was made. A handler belongs to one thread at a time.
#pragma once

#include "qv/export.h"
#include "qv/win32.h"

#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>

namespace fileutil {

/// A buffered input stream over a file, for FileHandler: a buffer of 4096 bytes, of which less is filled where visits
/// are short and far apart; reads that are larger go straight to their destination. Seeking within the buffer reads
/// nothing, elsewhere it costs no system call until the next read. A read that the system refuses sets badbit.
class QV_API ifstream : public std::istream {
public:
  ifstream();
  /// Opens as open() does.
  explicit ifstream(const WCHAR* path);
  ~ifstream() override;

  /// Opens an existing file for reading, with the sequential-scan hint, shared with readers, or as FILE_SHARE_* say;
  /// one that was open is closed first. Sets failbit where it cannot be opened; GetLastError() tells why.
  void open(const WCHAR* path, DWORD share = FILE_SHARE_READ);
  bool is_open() const;
  void close();
  /// The file's length in bytes; all ones where it cannot be told.
  uint64_t length() const;
  /// Moves forward by that many bytes where they are in the buffer and the stream is good; otherwise stays and answers
  /// false.
  bool skipInBuffer(uint64_t bytes);

private:
  class Buffer;
  std::unique_ptr<Buffer> buffer_;
};

/// A source: a stream, and what can be told of it. Only functions of streams that throw (see std::ios::exceptions)
/// throw here.
class QV_API DataHandler {
public:
  static constexpr uint64_t kUnknownLength = ~uint64_t{0};

  virtual ~DataHandler() = default;
  virtual std::istream& in() = 0;
  /// Moves forward: within the stream's buffer, by seeking where the stream can, otherwise by reading. Returns how far
  /// it came, which is less where the source ends; it never comes behind its end.
  virtual uint64_t skip(uint64_t bytes) = 0;
  /// Bytes of the source; kUnknownLength where that cannot be told.
  virtual uint64_t length() const = 0;
  /// Back to the position at which it began, and clears the stream's state; false where the stream cannot seek.
  virtual bool rewind() = 0;
};

/// What the handlers share: skipping and rewinding over any istream.
class QV_API StreamSource : public DataHandler {
public:
  std::istream& in() override { return *in_; }
  uint64_t skip(uint64_t bytes) override;
  bool rewind() override;

protected:
  /// Finds out whether the stream can seek, and where it ends. `seeksFreely`: a seek costs nothing and keeps the
  /// buffer, so that no other way of skipping is better.
  explicit StreamSource(std::istream& in, bool seeksFreely = false);
  /// Bytes from where it began to its end; kUnknownLength where it cannot seek.
  uint64_t available() const { return available_; }

private:
  uint64_t readOver(uint64_t bytes);
  std::istream* in_;
  bool seeksFreely_;
  std::streamoff begin_ = -1; ///< -1: it cannot seek
  uint64_t available_ = kUnknownLength;
};

/// Holds the file of FileHandler, so that it is there before the stream over it is looked at.
class QV_API OwnedFile {
protected:
  explicit OwnedFile(const WCHAR* path) : file_(path) {}
  ifstream file_;
};

/// A file of its own, opened by path. Where it cannot be opened the stream has failbit and every read finds nothing.
class QV_API FileHandler : private OwnedFile, public StreamSource {
public:
  explicit FileHandler(const WCHAR* path) : OwnedFile(path), StreamSource(file_, true) {}
  uint64_t skip(uint64_t bytes) override { return file_.skipInBuffer(bytes) ? bytes : StreamSource::skip(bytes); }
  uint64_t length() const override { return available(); }
};

/// A caller's file stream, from where it stands; it must outlive the handler.
class QV_API FileStreamHandler : public StreamSource {
public:
  explicit FileStreamHandler(std::ifstream& in) : StreamSource(in) {}
  uint64_t length() const override { return available(); }
};

/// Any stream of a caller's, from where it stands, with the length that the caller gives, which is taken as it is; it
/// must outlive the handler. It need not be able to seek.
class QV_API StreamHandler : public StreamSource {
public:
  StreamHandler(std::istream& in, uint64_t length) : StreamSource(in), length_(length) {}
  uint64_t length() const override { return length_; }

private:
  uint64_t length_;
};

} // namespace fileutil
