// Files behind the Win32 names. A handle keeps its own 64-bit position and reads and writes at it, so that moving the
// position costs no system call.
#include "platform/posix/file/path.h"
#include "platform/posix/file/read_ahead.h"
#include "platform/posix/handle.h"
#include "platform/posix/last_error.h"
#include "platform/posix/seams.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace qv::platform {

namespace {

class File final : public KernelObject {
public:
  File(int descriptor, DWORD access, bool read_ahead)
      : descriptor_(descriptor), access_(access), reads_ahead_(read_ahead) {}

  BOOL close_handle() override {
    // A file system may report a write that failed as late as this.
    const BOOL closed = file_calls().close(descriptor_) == 0 ? TRUE : fail_with_errno();
    release();
    return closed;
  }

  int descriptor() const { return descriptor_; }
  bool readable() const { return (access_ & GENERIC_READ) != 0; }
  bool writable() const { return (access_ & GENERIC_WRITE) != 0; }

  ssize_t read(void* buffer, size_t bytes) {
    const ssize_t got = reads_ahead_ ? window_.read(descriptor_, buffer, bytes, position)
                                     : read_fully(descriptor_, buffer, bytes, position);
    if (got > 0) position += got;
    return got;
  }

  /// Bytes written before the first failure; `bytes` on success.
  size_t write(const void* buffer, size_t bytes) {
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

  int64_t position = 0;

private:
  const int descriptor_;
  const DWORD access_;
  const bool reads_ahead_;
  ReadAhead window_;
};

int open_flags(DWORD access, DWORD disposition) {
  int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK; // opening a pipe must not wait for its other end
  if ((access & GENERIC_READ) && (access & GENERIC_WRITE))
    flags |= O_RDWR;
  else
    flags |= (access & GENERIC_WRITE) ? O_WRONLY : O_RDONLY;
  switch (disposition) {
  case CREATE_NEW: return flags | O_CREAT | O_EXCL;
  case CREATE_ALWAYS: return flags | O_CREAT | O_TRUNC;
  case OPEN_ALWAYS: return flags | O_CREAT;
  case TRUNCATE_EXISTING: return flags | O_TRUNC;
  default: return flags;
  }
}

/// 0, or the error for what cannot be read and written at positions.
DWORD refuse_kind(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return ERROR_ACCESS_DENIED;
  if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) return ERROR_NOT_SUPPORTED;
  return ERROR_SUCCESS;
}

HANDLE open_failed(DWORD error) {
  SetLastError(error);
  return INVALID_HANDLE_VALUE;
}

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

HANDLE CreateFileW(const WCHAR* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD disposition, DWORD flags,
                   HANDLE) {
  return or_out_of_memory(
      INVALID_HANDLE_VALUE,
      [&] {
        if (!path || disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING)
          return open_failed(ERROR_INVALID_PARAMETER);
        const std::string name = path_bytes(path);
        const bool tells_existing = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
        const bool existed = tells_existing && path_exists(name);
        const int descriptor = open(name.c_str(), open_flags(access, disposition), 0666);
        if (descriptor < 0) return open_failed(error_from_errno(errno));
        struct stat status {};
        const DWORD refused = fstat(descriptor, &status) == 0 ? refuse_kind(status) : error_from_errno(errno);
        if (refused != ERROR_SUCCESS) {
          close(descriptor);
          return open_failed(refused);
        }
        if (flags & FILE_FLAG_SEQUENTIAL_SCAN) posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
        const bool reads_ahead = (access & GENERIC_WRITE) == 0 && (share & FILE_SHARE_WRITE) == 0;
        auto* file = new (std::nothrow) File(descriptor, access, reads_ahead);
        if (!file) {
          close(descriptor);
          return open_failed(ERROR_NOT_ENOUGH_MEMORY);
        }
        SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
        return file->handle();
      });
}

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
  return ftruncate(file->descriptor(), file->position) == 0 ? TRUE : fail_with_errno();
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
