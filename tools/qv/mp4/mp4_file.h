// An MP4 file that is read here and there: its tree without the tables of samples and without pictures, and the bytes
// of any box. What is held does not grow with the file.
#pragma once

#include "tools/qv/file/disk/disk_file.h"

#include "qv/mp4/boxes.h"

#include <memory>
#include <string>
#include <string_view>

namespace qv::tool {

class Mp4File {
public:
  /// Throws Failure for a file that cannot be opened.
  explicit Mp4File(const std::string& name);

  const std::string& name() const { return name_; }
  uint64_t size() const { return size_; }

  /// Bytes of the file; fewer, down to none, where it ends. Throws Failure where they cannot be read.
  std::string bytes_at(uint64_t position, uint64_t count) const;
  /// What stands behind a box's header, up to `limit` bytes.
  std::string payload(const fileutil::IBox& box, uint64_t limit) const;

  struct Tree {
    std::unique_ptr<fileutil::Boxes> boxes;
    bool is_whole = true; ///< it has no more boxes than are looked at
  };
  /// All boxes that the library knows, but without what is in "stsd", in the tables of samples and in "ID32", and
  /// without the values of "data" that are too long for a text: payload() has those.
  Tree read_tree() const;

private:
  std::string name_;
  OpenFile file_;
  uint64_t size_;
};

/// Whether a file that begins with these twelve bytes is made of boxes: its first one is of a type that such files
/// begin with.
bool is_box_file_start(std::string_view start);
/// The same of a file. Throws Failure where it cannot be opened.
bool is_box_file(const std::string& name);

} // namespace qv::tool
