#include "fileutil/update/update_file.h"

#include "fileutil/update/sidecar.h"
#include "fileutil/update/update_planner.h"

#include "qv/mp4/data_handler.h"

#include <new>

namespace fileutil {

namespace {

HRESULT readAndPlan(const HeldFile& held, const TreeChange& change, const UpdateOptions& options, UpdatePlan& plan) {
  uint64_t length = 0;
  if (!held.file().getLength(length)) return lastResult();
  ifstream source;
  source.open(held.path().c_str(), kShareAll); // it is open for writing too
  return source.is_open() ? planUpdate(source, length, change, options, plan) : QVERR_RIFF_READ;
}

HRESULT update(const WCHAR* path, const TreeChange& change, const UpdateOptions& options) {
  HeldFile held;
  HRESULT result = held.open(path);
  if (result != S_OK) return result;
  Recovery earlier = Recovery::kNothing;
  result = settle(held, earlier);
  if (FAILED(result)) return result;
  UpdatePlan plan;
  result = readAndPlan(held, change, options, plan);
  return result == S_OK ? carryOut(held, plan, options) : result;
}

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

HRESULT updateFile(const WCHAR* path, const TreeChange& change, const UpdateOptions& options) {
  if (!path || !change) return E_INVALIDARG;
  return orFailure([&] { return update(path, change, options); });
}

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
