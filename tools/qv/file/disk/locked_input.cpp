#include "tools/qv/file/disk/locked_input.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/disk/disk_file.h"
#include "tools/qv/long_work.h"

namespace qv::tool {

LockedInput::LockedInput(const std::string& name) : name_(name) {
  watch_interruption();
  // Who held the lock may have renamed another file over this one: then that is the file to hold.
  do {
    open_existing(name, GENERIC_READ); // closed at once: it knows what is no file
    path_ = real_path(name);
    file_ = FileDescriptor(path_);
    if (!file_.is_open()) throw Failure(name, "cannot be opened a second time");
    file_.lock();
  } while (!file_.is_at(path_));
}

} // namespace qv::tool
