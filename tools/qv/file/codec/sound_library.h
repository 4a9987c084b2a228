// libsndfile, loaded on first use, on files that are open already.
#pragma once

#include "tools/qv/file/codec/coded_texts.h"

#include "qv/win32.h"

#include <sndfile.h>
#include <string>

namespace qv::tool {

/// Its functions by their names without the prefix.
struct SoundLibrary {
  decltype(&sf_open_virtual) open_virtual;
  decltype(&sf_close) close;
  decltype(&sf_strerror) strerror;
  decltype(&sf_seek) seek;
  decltype(&sf_readf_short) readf_short;
  decltype(&sf_readf_int) readf_int;
  decltype(&sf_readf_float) readf_float;
  decltype(&sf_writef_short) writef_short;
  decltype(&sf_writef_int) writef_int;
  decltype(&sf_writef_float) writef_float;
  decltype(&sf_get_string) get_string;
  decltype(&sf_set_string) set_string;
};

/// The texts of a stream, and those of one whose samples are still to come; answers whether all were taken.
CodedTexts read_coded_texts(const SoundLibrary& library, SNDFILE* stream);
bool write_coded_texts(const SoundLibrary& library, SNDFILE* stream, const CodedTexts& texts);

/// Keeps what the decoders of others print on standard error from the user, who gets one line from this program.
class Silence {
public:
  Silence();
  ~Silence();
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

private:
  int kept_; ///< the descriptor
};

/// Throws Failure about the file that needs it when it is not installed.
const SoundLibrary& sound_library(const std::string& file_name);

/// An open file with a position of its own, as libsndfile wants it.
struct VirtualFile {
  HANDLE file;
  sf_count_t position = 0;
  DWORD error = ERROR_SUCCESS; ///< of the first call that failed: libsndfile does not always tell of it

  /// The functions that take its address.
  static SF_VIRTUAL_IO& functions();
};

} // namespace qv::tool
