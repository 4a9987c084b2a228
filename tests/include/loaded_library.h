// A program's view of the library when it loads it by name and looks functions up, as any language can.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

class LoadedLibrary {
public:
#if defined(_WIN32)
  /// The DLL lies beside the program.
  LoadedLibrary() : module_(LoadLibraryA(QV_LIBRARY_NAME)) {}
  ~LoadedLibrary() {
    if (module_) FreeLibrary(module_);
  }
  void* find(const char* name) const { return reinterpret_cast<void*>(GetProcAddress(module_, name)); }
#else
  LoadedLibrary() : module_(dlopen(QV_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL)) {}
  ~LoadedLibrary() {
    if (module_) dlclose(module_);
  }
  void* find(const char* name) const { return dlsym(module_, name); }
#endif
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  bool is_open() const { return module_ != nullptr; }

private:
#if defined(_WIN32)
  HMODULE module_;
#else
  void* module_;
#endif
};
