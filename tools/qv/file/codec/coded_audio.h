// Compressed audio, read and written through libsndfile, which is loaded when a file first needs it: FLAC, Ogg and MP3
// files, and the compressed formats of wave and AIFF-C files. A build without libsndfile refuses all of them.
#pragma once

#include "tools/qv/file/audio_file.h"
#include "tools/qv/file/codec/coded_texts.h"

#include <memory>

namespace qv::tool {

/// Decodes a file from its first frame on, from a place of its own.
class CodedReader {
public:
  /// Keeps a reference to `audio`. Throws Failure when the file cannot be decoded here.
  explicit CodedReader(const AudioFile& audio);
  ~CodedReader();
  CodedReader(const CodedReader&) = delete;
  CodedReader& operator=(const CodedReader&) = delete;

  /// What read() gives: integers of the bits that were coded, or floats.
  const _qvwaveformat& format() const { return format_; }
  /// The tag of a plain header that names the coding; 0 where there is none.
  WORD format_tag() const;
  /// The frames that there are, found by decoding where the header does not say; fewer than it says in a file that was
  /// cut.
  uint64_t frames() const { return frames_; }
  bool is_cut() const { return is_cut_; }
  CodedTexts texts() const;
  /// Answers whether all were there.
  bool read(void* buffer, DWORD frames);

private:
  struct Stream;
  bool can_reach(uint64_t frame);
  uint64_t count_by_decoding();
  /// Answers how many frames were there.
  DWORD read_some(void* buffer, DWORD frames);
  DWORD decode(void* buffer, DWORD frames);

  std::unique_ptr<Stream> stream_;
  _qvwaveformat format_;
  uint64_t frames_ = 0;
  bool is_cut_ = false;
};

/// Encodes frames into a file at its position.
class CodedWriter {
public:
  /// Throws Failure when the container does not take the format, or cannot be written here.
  CodedWriter(const std::string& name, HANDLE file, Container container, const _qvwaveformat& format);
  ~CodedWriter();
  CodedWriter(const CodedWriter&) = delete;
  CodedWriter& operator=(const CodedWriter&) = delete;

  /// Before the first frames. Answers whether all were taken.
  bool write_texts(const CodedTexts& texts);
  /// Answers whether all were written.
  bool write(const void* samples, DWORD frames);
  /// Ends the stream; answers whether that was written.
  bool finish();

private:
  struct Stream;
  std::unique_ptr<Stream> stream_;
};

} // namespace qv::tool
