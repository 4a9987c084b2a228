#include "fileutil/update/update_file.h"

#include "fileutil/update/sidecar.h"

#include <new>

namespace fileutil {

namespace {

HRESULT recover(const WCHAR* path, Recovery& what) {
  HeldFile held;
  const HRESULT result = held.open(path);
  return result == S_OK ? settle(held, what) : result;
}

/// No exception passes the library's boundary.
template <class Body>
auto orFailure(Body body) -> decltype(body()) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

} // namespace

HRESULT recoverFile(const WCHAR* path, Recovery* what) {
  if (!path) return E_INVALIDARG;
  Recovery unused;
  Recovery& told = what ? *what : unused;
  told = Recovery::kNothing;
  return orFailure([&] { return recover(path, told); });
}

bool hasBrokenUpdate(const WCHAR* path) {
  if (!path) return false;
  return orFailure([&]() -> HRESULT {
           const OpenFile file(
               CreateFileW(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
           return file.isOpen() && hasBrokenSidecar(file) ? S_OK : S_FALSE;
         }) == S_OK;
}

} // namespace fileutil
