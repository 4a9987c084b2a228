// The frames of an ID3v2 tag (versions 2.2 to 2.4), read for showing: ids, sizes, and texts where a frame is one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qv::tool {

struct Id3Frame {
  std::string id;   ///< of three or four characters
  std::string text; ///< UTF-8; several values of a frame with " / " between; empty where the frame holds no text
  uint64_t size = 0;
};

struct Id3Tag {
  std::string version; ///< "2.3"; empty where the data hold no tag that is known
  std::vector<Id3Frame> frames;
  bool is_cut = false; ///< there are more frames, or they claim more than there is
};

inline constexpr size_t kMaxId3Frames = 1024;
/// How much of a tag is read: pictures are passed over where they stand behind that.
inline constexpr uint64_t kMaxId3Bytes = 4 << 20;

/// Reads a tag at the front of `data`. Compressed and encrypted frames are listed without a text.
Id3Tag parse_id3(std::string_view data);

} // namespace qv::tool
