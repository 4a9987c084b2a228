// All that a file says beside its audio, for showing.
#pragma once

#include "tools/qv/metadata/broadcast.h"
#include "tools/qv/metadata/id3_frames.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/metadata/ixml_fields.h"
#include "tools/qv/metadata/markers.h"
#include "tools/qv/metadata/sampler.h"

namespace qv::tool {

/// A position on the dial of timecode.
struct Timecode {
  std::string label; ///< "10:00:00:00", drop frame "10:00:00;00"
  std::string rate;  ///< frames per second: "25", "30000/1001"
};

struct FileMetadata {
  InfoList texts;
  MarkerList markers;
  std::optional<Sampler> sampler;
  std::optional<Broadcast> broadcast;
  std::optional<Timecode> timecode; ///< of the broadcast record's time reference
  IxmlFields ixml;
  Id3Tag id3;
  std::vector<std::string> problems; ///< what could not be read, or was left out
};

FileMetadata read_file_metadata(const AudioFile& audio);

/// Frames of audio since midnight, at the timecode rate that the fields of "iXML" name, else at 25 frames per second.
Timecode timecode_of(uint64_t frames, DWORD sample_rate, const IxmlFields& ixml);

} // namespace qv::tool
