// How a file's chunks lie in its form, looked at by one who is going to add chunks behind them.
#pragma once

#include "tools/qv/file/audio_file.h"

#include <string>

namespace qv::tool {

/// Where a container keeps the size of its form.
struct FormShape {
  uint64_t header_bytes; ///< of the file, in front of the first chunk
  uint64_t size_offset;  ///< from the form's start
  int size_bytes;
  uint64_t uncounted; ///< the bytes at the form's start that the size leaves out
  uint64_t limit;     ///< the size may not exceed
};

struct Form {
  const FormShape* shape;
  uint64_t start;      ///< of the form's header in the file
  uint64_t chunks_end; ///< behind the data of the last chunk; its padding may be missing
  uint64_t rest;       ///< where bytes begin that are no chunk; the file's end without such
  std::string remark;  ///< what the header says wrong, for a warning; empty where it is right
};

/// Finds out how a file's form ends, and adds chunks to `audio` that stand behind the size in its header where they
/// fill the file. Throws Failure where it cannot be known what belongs to the audio, or which chunks there are.
Form read_form(AudioFile& audio);

/// Bytes of the file; fewer where it ends. Throws Failure.
std::string bytes_at(const AudioFile& audio, uint64_t offset, size_t count);

/// The bytes of a form's size, as its header has them.
std::string form_size_bytes(const AudioFile& audio, const Form& form, uint64_t form_bytes);

} // namespace qv::tool
