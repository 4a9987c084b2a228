// What is done with an open file: reading, writing, moving, cutting, closing.
#include "platform/posix/file/file.h"
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

#include <cerrno>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::platform {

BOOL File::close_handle() {
  // A file system may report a write that failed as late as this.
  const BOOL closed = file_calls().close(descriptor_) == 0 ? TRUE : fail_with_errno();
  release();
  return closed;
}

size_t File::write(const void* buffer, size_t bytes) {
  size_t done = 0;
  while (done < bytes) {
    const ssize_t put =
        file_calls().write(descriptor_, static_cast<const char*>(buffer) + done, bytes - done, position);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) break;
    done += static_cast<size_t>(put);
    position += put;
  }
  return done;
}

namespace {

BOOL move_to(File& file, int64_t distance, DWORD method) {
  if (io_fails()) return fail_with(ERROR_IO_DEVICE);
  int64_t base = 0;
  if (method == FILE_CURRENT) {
    base = file.position;
  } else if (method == FILE_END) {
    struct stat status {};
    if (fstat(file.descriptor(), &status) != 0) return fail_with_errno();
    base = status.st_size;
  } else if (method != FILE_BEGIN) {
    return fail_with(ERROR_INVALID_PARAMETER);
  }
  int64_t target = 0;
  if (__builtin_add_overflow(base, distance, &target)) return fail_with(ERROR_INVALID_PARAMETER);
  if (target < 0) return fail_with(ERROR_NEGATIVE_SEEK);
  file.position = target;
  return TRUE;
}

} // namespace

} // namespace qv::platform

using namespace qv::platform;

BOOL ReadFile(HANDLE handle, void* buffer, DWORD bytes, DWORD* bytesRead, OVERLAPPED*) {
  return or_out_of_memory(
      BOOL{FALSE},
      [&] {
        if (bytesRead) *bytesRead = 0;
        auto* file = object_of<File>(handle);
        if (!file) return FALSE;
        if (!file->readable()) return fail_with(ERROR_ACCESS_DENIED);
        if (io_fails()) return fail_with(ERROR_IO_DEVICE);
        const ssize_t got = file->read(buffer, bytes);
        if (got < 0) return fail_with_errno();
        if (bytesRead) *bytesRead = static_cast<DWORD>(got);
        return TRUE;
      });
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD bytes, DWORD* bytesWritten, OVERLAPPED*) {
  if (bytesWritten) *bytesWritten = 0;
  auto* file = object_of<File>(handle);
  if (!file) return FALSE;
  if (!file->writable()) return fail_with(ERROR_ACCESS_DENIED);
  if (io_fails()) return fail_with(ERROR_IO_DEVICE);
  const size_t put = file->write(buffer, bytes);
  if (bytesWritten) *bytesWritten = static_cast<DWORD>(put);
  return put == bytes ? TRUE : fail_with_errno();
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD method) {
  auto* file = object_of<File>(handle);
  if (!file || !move_to(*file, distance.QuadPart, method)) return FALSE;
  if (position) position->QuadPart = file->position;
  return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG distance, LONG* distanceHigh, DWORD method) {
  auto* file = object_of<File>(handle);
  if (!file) return INVALID_SET_FILE_POINTER;
  const int64_t before = file->position;
  int64_t whole = distance;
  if (distanceHigh) whole = static_cast<int64_t>(*distanceHigh) * (int64_t{1} << 32) + static_cast<DWORD>(distance);
  if (!move_to(*file, whole, method)) return INVALID_SET_FILE_POINTER;
  if (!distanceHigh && file->position > std::numeric_limits<DWORD>::max() - 1) {
    // The answer could not be told: the published behaviour is to stay.
    file->position = before;
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_SET_FILE_POINTER;
  }
  if (distanceHigh) *distanceHigh = static_cast<LONG>(file->position / (int64_t{1} << 32));
  SetLastError(ERROR_SUCCESS);
  return static_cast<DWORD>(file->position);
}

BOOL SetEndOfFile(HANDLE handle) {
  auto* file = object_of<File>(handle);
  if (!file) return FALSE;
  if (!file->writable()) return fail_with(ERROR_ACCESS_DENIED);
  if (io_fails()) return fail_with(ERROR_IO_DEVICE);
  return file_calls().cut(file->descriptor(), file->position) == 0 ? TRUE : fail_with_errno();
}

BOOL GetFileSizeEx(HANDLE handle, LARGE_INTEGER* size) {
  auto* file = object_of<File>(handle);
  if (!file) return FALSE;
  struct stat status {};
  if (fstat(file->descriptor(), &status) != 0) return fail_with_errno();
  size->QuadPart = status.st_size;
  return TRUE;
}

BOOL FlushFileBuffers(HANDLE handle) {
  auto* file = object_of<File>(handle);
  if (!file) return FALSE;
  return file_calls().sync(file->descriptor()) == 0 ? TRUE : fail_with_errno();
}
