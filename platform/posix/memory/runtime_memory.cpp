// The size of a block of the C runtime, and whether memory can be read.
#include "qv/win32.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <malloc.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

/// Whether the kernel can copy the byte at an address. Where it does not let a process read itself this way, whether it
/// can be written to a pipe.
bool is_readable(uintptr_t address) {
  char byte = 0;
  const iovec local{&byte, 1};
  const iovec remote{reinterpret_cast<void*>(address), 1};
  if (process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == 1) return true;
  if (errno == EFAULT) return false;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  const bool readable = write(ends[1], reinterpret_cast<const void*>(address), 1) == 1;
  close(ends[0]);
  close(ends[1]);
  return readable;
}

} // namespace

SIZE_T _msize(void* block) { return malloc_usable_size(block); }

BOOL IsBadReadPtr(const void* memory, UINT_PTR bytes) {
  if (bytes == 0) return FALSE;
  const auto first = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t last = first + (bytes - 1);
  if (last < first) return TRUE;
  const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  for (uintptr_t address = first;;) {
    if (!is_readable(address)) return TRUE;
    const uintptr_t next = (address / page + 1) * page;
    if (next > last || next < address) return FALSE;
    address = next;
  }
}
