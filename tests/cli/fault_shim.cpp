// Preloaded into a program: the n-th call of one kind that concerns the files of one folder fails, does only half of
// its work, or ends the process. What does so is told by the environment:
//   QV_FAULT_FOLDER  the folder, QV_FAULT_CALL and QV_FAULT_NTH which call, QV_FAULT_EFFECT what happens to it;
//   QV_FAULT_MARK    a file that is made when it happens.
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

bool is_ours(const char* path) {
  const std::string folder = variable("QV_FAULT_FOLDER");
  return !folder.empty() && std::strncmp(path, folder.c_str(), folder.size()) == 0;
}

bool is_ours(int descriptor) {
  char path[4096] = {};
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  return readlink(link.c_str(), path, sizeof path - 1) > 0 && is_ours(path);
}

/// What happens to this call: "", "fail", "dead" (as "fail", and to all later ones), "short", "interrupt", or the
/// process's end once it has done half its work ("kill"; all of it where there is no half) or all ("kill after").
std::string effect_on(const char* call, bool ours) {
  static int count = 0;
  if (!ours || variable("QV_FAULT_CALL") != call) return "";
  ++count;
  const std::string effect = variable("QV_FAULT_EFFECT");
  const int nth = std::atoi(variable("QV_FAULT_NTH").c_str());
  if (count < nth || (count > nth && effect != "dead")) return "";
  syscall(SYS_close, syscall(SYS_openat, AT_FDCWD, variable("QV_FAULT_MARK").c_str(), O_CREAT | O_WRONLY, 0600));
  return effect;
}

int failed(int error) {
  errno = error;
  return -1;
}

/// A call that succeeds or fails. One that fails may have done its work, as close() has.
template <class Run>
int act(const char* call, bool ours, Run run, bool works_when_failing = false) {
  const std::string effect = effect_on(call, ours);
  if (effect == "fail" || effect == "dead") {
    if (works_when_failing) run();
    return failed(EIO);
  }
  const int result = run();
  if (effect == "kill") raise(SIGKILL);
  return result;
}

/// A call that moves bytes.
template <class Run>
ssize_t transfer(const char* call, int descriptor, size_t bytes, Run run) {
  const std::string effect = effect_on(call, is_ours(descriptor));
  if (effect == "fail" || effect == "dead") return failed(std::strcmp(call, "write") == 0 ? ENOSPC : EIO);
  if (effect == "interrupt") return failed(EINTR);
  const ssize_t done = run(effect == "short" || effect == "kill" ? (bytes + 1) / 2 : bytes);
  if (effect.starts_with("kill")) raise(SIGKILL);
  return done;
}

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

#define QV_TRANSFER(name, call, pointer)                                                                               \
  extern "C" ssize_t name(int descriptor, pointer bytes, size_t count) {                                               \
    static auto* real = next<ssize_t(int, pointer, size_t)>(#name);                                                    \
    return transfer(call, descriptor, count, [=](size_t part) { return real(descriptor, bytes, part); });              \
  }
#define QV_TRANSFER_AT(name, call, pointer)                                                                            \
  extern "C" ssize_t name(int descriptor, pointer bytes, size_t count, off_t at) {                                     \
    static auto* real = next<ssize_t(int, pointer, size_t, off_t)>(#name);                                             \
    return transfer(call, descriptor, count, [=](size_t part) { return real(descriptor, bytes, part, at); });          \
  }
#define QV_ON_DESCRIPTOR(name, call, works, ...)                                                                       \
  extern "C" int name(int descriptor) __VA_ARGS__ {                                                                    \
    static auto* real = next<int(int)>(#name);                                                                         \
    return act(                                                                                                        \
        call, is_ours(descriptor), [=] { return real(descriptor); }, works);                                           \
  }
#define QV_TRUNCATE(name)                                                                                              \
  extern "C" int name(int descriptor, off_t length) noexcept {                                                         \
    static auto* real = next<int(int, off_t)>(#name);                                                                  \
    return act("truncate", is_ours(descriptor), [=] { return real(descriptor, length); });                             \
  }
#define QV_OPEN(name)                                                                                                  \
  extern "C" int name(const char* path, int flags, ...) {                                                              \
    static auto* real = next<int(const char*, int, ...)>(#name);                                                       \
    va_list arguments;                                                                                                 \
    va_start(arguments, flags);                                                                                        \
    const int mode = (flags & O_CREAT) ? va_arg(arguments, int) : 0;                                                   \
    va_end(arguments);                                                                                                 \
    return act("open", is_ours(path), [=] { return real(path, flags, mode); });                                        \
  }
#define QV_OPEN_AT(name)                                                                                               \
  extern "C" int name(int folder, const char* path, int flags, ...) {                                                  \
    static auto* real = next<int(int, const char*, int, ...)>(#name);                                                  \
    va_list arguments;                                                                                                 \
    va_start(arguments, flags);                                                                                        \
    const int mode = (flags & O_CREAT) ? va_arg(arguments, int) : 0;                                                   \
    va_end(arguments);                                                                                                 \
    return act("open", is_ours(path), [=] { return real(folder, path, flags, mode); });                                \
  }

QV_TRANSFER(read, "read", void*)
QV_TRANSFER(write, "write", const void*)
QV_TRANSFER_AT(pread, "read", void*)
QV_TRANSFER_AT(pread64, "read", void*)
QV_TRANSFER_AT(pwrite, "write", const void*)
QV_TRANSFER_AT(pwrite64, "write", const void*)
QV_ON_DESCRIPTOR(fsync, "sync", false)
QV_ON_DESCRIPTOR(fdatasync, "sync", false)
QV_ON_DESCRIPTOR(close, "close", true)
QV_TRUNCATE(ftruncate)
QV_TRUNCATE(ftruncate64)
QV_OPEN(open)
QV_OPEN(open64)
QV_OPEN_AT(openat)
QV_OPEN_AT(openat64)

extern "C" int rename(const char* from, const char* to) noexcept {
  static auto* real = next<int(const char*, const char*)>("rename");
  return act("rename", is_ours(to), [=] { return real(from, to); });
}

extern "C" int renameat(int from_folder, const char* from, int to_folder, const char* to) noexcept {
  static auto* real = next<int(int, const char*, int, const char*)>("renameat");
  return act("rename", is_ours(to), [=] { return real(from_folder, from, to_folder, to); });
}

extern "C" int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) noexcept {
  static auto* real = next<int(int, const char*, int, const char*, unsigned)>("renameat2");
  return act("rename", is_ours(to), [=] { return real(from_folder, from, to_folder, to, flags); });
}

extern "C" int unlink(const char* path) noexcept {
  static auto* real = next<int(const char*)>("unlink");
  return act("unlink", is_ours(path), [=] { return real(path); });
}

extern "C" int unlinkat(int folder, const char* path, int flags) noexcept {
  static auto* real = next<int(int, const char*, int)>("unlinkat");
  return act("unlink", is_ours(path), [=] { return real(folder, path, flags); });
}
