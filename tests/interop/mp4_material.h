// MP4 files as other programs make them, small, and what those programs say of them.
#pragma once

#include "tests/interop/material.h"

namespace interop_test {

/// A file that ffmpeg makes of a recording.
struct Mp4Recipe {
  const char* name; ///< with a suffix that chooses the container
  const char* options;
  bool is_fragmented = false;
};

/// Moov first and last, fragments of several kinds, with and without "free", 64-bit offsets, every codec that ffmpeg
/// writes, 3GP and QuickTime, tags, a cover, chapters.
extern const std::vector<Mp4Recipe> kMp4Recipes;

/// Makes it; answers its path.
std::string make_mp4(const ScratchFolder& folder, const Mp4Recipe& recipe);
/// The recipe of that name.
const Mp4Recipe& mp4_recipe(const std::string& name);

/// What ffprobe says of a whole file: "streams" with counted packets, "format", "chapters".
Json ffprobe_all(const std::string& file);
/// The tracks that mediainfo sees; "General" is one of them.
Json mediainfo_tracks(const std::string& file);

} // namespace interop_test
