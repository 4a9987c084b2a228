// An open key of the registry.
#pragma once

#include "platform/posix/handle.h"
#include "platform/posix/registry/registry_store.h"

namespace qv::platform {

class RegistryKey final : public KernelObject {
public:
  RegistryKey(std::shared_ptr<Store> store, int64_t id) : store_(std::move(store)), id_(id) {}
  const std::shared_ptr<Store>& store() const { return store_; }
  int64_t id() const { return id_; }

private:
  std::shared_ptr<Store> store_;
  int64_t id_;
};

/// What a handle, a root among them, stands for.
struct KeyPlace {
  std::shared_ptr<Store> store;
  int64_t id = 0;
};

/// `create`: also the database, where a root's is missing.
LONG place_of(HKEY key, bool create, KeyPlace& place);

/// ERROR_SUCCESS, or ERROR_KEY_DELETED. With the store's lock.
LONG check_exists(Store& store, int64_t id);

/// Does `body`, which answers a registry error; lack of memory is ERROR_NOT_ENOUGH_MEMORY.
template <class Body>
LONG registry_call(Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  } catch (const std::exception&) { // the file system's
    return ERROR_REGISTRY_IO_FAILED;
  }
}

/// Text as a caller's buffer of *capacity characters, terminator included, gets it; *capacity becomes its length.
LONG give_name(std::span<const BYTE> stored, WCHAR* name, DWORD* capacity);

} // namespace qv::platform
