// A file that is read and then replaced, held against others who do the same: the second waits for the first, and then
// reads what the first has written.
#pragma once

#include "tools/qv/file/disk/file_descriptor.h"

#include <string>

namespace qv::tool {

/// An advisory lock on the file under a name, from here until the object goes: keep it until the file has been replaced
/// or changed in place, and open the file for reading only after it. On Windows, see file_descriptor.h.
class LockedInput {
public:
  /// Waits while another holds the file. Throws Failure for what open_existing() refuses, Interrupted when a signal
  /// comes meanwhile.
  explicit LockedInput(const std::string& name);

  /// As the user called it.
  const std::string& name() const { return name_; }
  /// Behind symbolic links.
  const WString& path() const { return path_; }
  /// False where the file must be changed in place: it has more names than one, is a mount point, or its folder does
  /// not let its user rename another file over it.
  bool can_be_replaced() const { return qv::tool::can_be_replaced(path_); }

private:
  std::string name_;
  WString path_;
  FileDescriptor file_;
};

} // namespace qv::tool
