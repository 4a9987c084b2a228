#include "tools/qv/file/codec/sound_library.h"

#include "tools/qv/failure.h"
#include "tools/qv/file/disk/disk_file.h"

#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace qv::tool {

namespace {

constexpr const char* kLibrary = "libsndfile.so.1";

VirtualFile& from(void* data) { return *static_cast<VirtualFile*>(data); }

sf_count_t length(void* data) { return static_cast<sf_count_t>(size_of(from(data).file)); }

sf_count_t seek(sf_count_t offset, int whence, void* data) {
  VirtualFile& file = from(data);
  const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : length(data);
  if (offset < -base) return -1;
  return file.position = base + offset;
}

sf_count_t transfer(VirtualFile& file, sf_count_t count, auto work) {
  constexpr sf_count_t kMost = 1 << 30; // what is more comes in several parts
  DWORD done = 0;
  if (count <= 0) return 0;
  if (!move_to(file.file, static_cast<uint64_t>(file.position)) ||
      !work(static_cast<DWORD>(std::min(count, kMost)), &done)) {
    if (file.error == ERROR_SUCCESS) file.error = GetLastError();
    return 0;
  }
  file.position += done;
  return done;
}

sf_count_t read(void* buffer, sf_count_t count, void* data) {
  VirtualFile& file = from(data);
  return transfer(file, count,
                  [&](DWORD bytes, DWORD* done) { return ReadFile(file.file, buffer, bytes, done, nullptr); });
}

sf_count_t write(const void* buffer, sf_count_t count, void* data) {
  VirtualFile& file = from(data);
  return transfer(file, count,
                  [&](DWORD bytes, DWORD* done) { return WriteFile(file.file, buffer, bytes, done, nullptr); });
}

sf_count_t tell(void* data) { return from(data).position; }

template <class Function>
bool find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

bool load(SoundLibrary& functions) {
  void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL); // and stays until the program ends
  return library && find(library, "sf_open_virtual", functions.open_virtual) &&
         find(library, "sf_close", functions.close) && find(library, "sf_strerror", functions.strerror) &&
         find(library, "sf_seek", functions.seek) && find(library, "sf_readf_short", functions.readf_short) &&
         find(library, "sf_readf_int", functions.readf_int) && find(library, "sf_readf_float", functions.readf_float) &&
         find(library, "sf_writef_short", functions.writef_short) &&
         find(library, "sf_writef_int", functions.writef_int) &&
         find(library, "sf_writef_float", functions.writef_float) &&
         find(library, "sf_get_string", functions.get_string) && find(library, "sf_set_string", functions.set_string);
}

} // namespace

Silence::Silence() : kept_(dup(STDERR_FILENO)) {
  const int nowhere = kept_ < 0 ? -1 : open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0) return;
  dup2(nowhere, STDERR_FILENO);
  ::close(nowhere);
}

Silence::~Silence() {
  if (kept_ < 0) return;
  dup2(kept_, STDERR_FILENO);
  ::close(kept_);
}

SF_VIRTUAL_IO& VirtualFile::functions() {
  static SF_VIRTUAL_IO functions = {length, seek, read, write, tell};
  return functions;
}

const SoundLibrary& sound_library(const std::string& file_name) {
  static SoundLibrary functions = {};
  static const bool is_loaded = load(functions);
  if (!is_loaded)
    throw Failure(file_name, std::string("needs ") + kLibrary + " for its compressed audio, which is not installed");
  return functions;
}

} // namespace qv::tool
