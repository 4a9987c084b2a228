// A HANDLE points to a reference-counted kernel object. CloseHandle drops the caller's reference.
#pragma once

#include "qv/win32.h"

#include <atomic>
#include <type_traits>
#include <typeinfo>

namespace qv::platform {

class KernelObject {
public:
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
  virtual ~KernelObject() = default;

  void retain() { references_.fetch_add(1, std::memory_order_relaxed); }
  void release() {
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  HANDLE handle() { return this; }

  /// Drops the reference of the handle that is closed; FALSE with the last error when that fails. The handle is gone in
  /// either case.
  virtual BOOL close_handle() {
    release();
    return TRUE;
  }

protected:
  KernelObject() = default;

private:
  std::atomic<int> references_{1};
};

/// An object as a T, or null when it is none. A type that nothing derives from needs no search through its bases, for
/// which a walk over chunks would pay twice per chunk.
template <class T>
T* object_as(KernelObject* object) {
  if constexpr (std::is_final_v<T>)
    return typeid(*object) == typeid(T) ? static_cast<T*>(object) : nullptr;
  else
    return dynamic_cast<T*>(object);
}

/// The object behind a handle as a T, or null with ERROR_INVALID_HANDLE.
template <class T>
T* object_of(HANDLE handle) {
  T* object = nullptr;
  if (handle && handle != INVALID_HANDLE_VALUE) object = object_as<T>(static_cast<KernelObject*>(handle));
  if (!object) SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

} // namespace qv::platform
