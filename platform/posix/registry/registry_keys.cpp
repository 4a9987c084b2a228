// Keys: opening, creating, deleting and listing them.
#include "platform/posix/registry/registry_key.h"

#include <cstring>

namespace qv::platform {

namespace {

std::span<const BYTE> bytes_of(std::u16string_view text) {
  return {reinterpret_cast<const BYTE*>(text.data()), 2 * text.size()};
}

int64_t root_id(HKEY key) {
  return key == HKEY_CURRENT_USER ? kCurrentUserId : key == HKEY_LOCAL_MACHINE ? kLocalMachineId : 0;
}

LONG find_child(Store& store, int64_t parent, const FoldedName& name, int64_t& id) {
  Store::Run run(store, Query::kFindKey);
  const LONG error = run.bind(parent).bind(name.bytes()).step();
  if (error == ERROR_SUCCESS) id = run.number(0);
  return error == ERROR_NO_MORE_ITEMS ? LONG{ERROR_FILE_NOT_FOUND} : error;
}

LONG add_child(Store& store, int64_t parent, std::u16string_view name, const FoldedName& folded) {
  Store::Run run(store, Query::kAddKey);
  run.bind(parent).bind(folded.bytes()).bind(bytes_of(name));
  return store.change(run);
}

using Path = std::vector<std::u16string_view>;

/// Walks down from `id`; with `create`, inside a transaction, makes what is missing.
LONG walk(Store& store, const Path& path, bool create, int64_t& id) {
  LONG error = check_exists(store, id);
  for (const std::u16string_view name : path) {
    if (error != ERROR_SUCCESS) return error;
    const FoldedName folded(name);
    int64_t child = 0;
    error = find_child(store, id, folded, child);
    if (error == ERROR_FILE_NOT_FOUND && create) {
      error = add_child(store, id, name, folded);
      if (error == ERROR_SUCCESS) error = find_child(store, id, folded, child);
    }
    id = child;
  }
  return error;
}

LONG open_key(HKEY parent, const WCHAR* path, bool create, HKEY* key) {
  if (!key) return ERROR_INVALID_PARAMETER;
  *key = nullptr;
  const auto components = split_key_path(path);
  if (!components) return ERROR_INVALID_PARAMETER;
  KeyPlace place;
  LONG error = place_of(parent, create, place);
  if (error != ERROR_SUCCESS) return error;
  const std::lock_guard guard(place.store->lock());
  int64_t id = place.id;
  // A key is looked for before it is made: where it is there, the store need not be writable.
  error = walk(*place.store, *components, false, id);
  if (error == ERROR_FILE_NOT_FOUND && create) {
    id = place.id;
    error = place.store->transaction([&] { return walk(*place.store, *components, true, id); });
  }
  if (error == ERROR_SUCCESS) *key = reinterpret_cast<HKEY>((new RegistryKey(place.store, id))->handle());
  return error;
}

LONG delete_key(Store& store, int64_t id) {
  Store::Run first_child(store, Query::kListKeys);
  const LONG error = first_child.bind(id).bind(int64_t{0}).step();
  if (error == ERROR_SUCCESS) return ERROR_ACCESS_DENIED;
  if (error != ERROR_NO_MORE_ITEMS) return error;
  Store::Run values(store, Query::kDeleteValues);
  const LONG deleted = store.change(values.bind(id));
  if (deleted != ERROR_SUCCESS) return deleted;
  Store::Run key(store, Query::kDeleteKey);
  return store.change(key.bind(id));
}

} // namespace

LONG place_of(HKEY key, bool create, KeyPlace& place) {
  place.id = root_id(key);
  if (place.id != 0) return Store::open(create, place.store);
  const auto* object = object_of<RegistryKey>(reinterpret_cast<HANDLE>(key));
  if (!object) return ERROR_INVALID_HANDLE;
  place = {object->store(), object->id()};
  return ERROR_SUCCESS;
}

LONG check_exists(Store& store, int64_t id) {
  Store::Run run(store, Query::kKeyExists);
  const LONG error = run.bind(id).step();
  return error == ERROR_NO_MORE_ITEMS ? LONG{ERROR_KEY_DELETED} : error;
}

LONG give_name(std::span<const BYTE> stored, WCHAR* name, DWORD* capacity) {
  const size_t length = stored.size() / 2;
  if (length >= *capacity) return ERROR_MORE_DATA;
  if (length != 0) std::memcpy(name, stored.data(), 2 * length);
  name[length] = 0;
  *capacity = static_cast<DWORD>(length);
  return ERROR_SUCCESS;
}

} // namespace qv::platform

using namespace qv::platform;

LONG RegCreateKeyW(HKEY parent, const WCHAR* path, HKEY* key) {
  return registry_call([=] { return open_key(parent, path, true, key); });
}

LONG RegOpenKeyExW(HKEY parent, const WCHAR* path, DWORD options, REGSAM, HKEY* key) {
  if (options != 0) return ERROR_INVALID_PARAMETER;
  return registry_call([=] { return open_key(parent, path, false, key); });
}

LONG RegCloseKey(HKEY key) {
  if (root_id(key) != 0) return ERROR_SUCCESS;
  auto* object = object_of<RegistryKey>(reinterpret_cast<HANDLE>(key));
  if (!object) return ERROR_INVALID_HANDLE;
  object->release();
  return ERROR_SUCCESS;
}

LONG RegDeleteKeyW(HKEY parent, const WCHAR* path) {
  return registry_call([=]() -> LONG {
    const auto components = split_key_path(path);
    if (!path || !components) return ERROR_INVALID_PARAMETER;
    KeyPlace place;
    const LONG error = place_of(parent, false, place);
    if (error != ERROR_SUCCESS) return error;
    const std::lock_guard guard(place.store->lock());
    int64_t id = place.id;
    const LONG found = walk(*place.store, *components, false, id);
    if (found != ERROR_SUCCESS) return found;
    if (id == kCurrentUserId || id == kLocalMachineId) return ERROR_ACCESS_DENIED;
    return place.store->transaction([&] { return delete_key(*place.store, id); });
  });
}

LONG RegEnumKeyExW(HKEY key, DWORD index, WCHAR* name, DWORD* nameCapacity, DWORD* reserved, WCHAR* keyClass, DWORD*,
                   FILETIME* writeTime) {
  if (!name || !nameCapacity || reserved || keyClass) return ERROR_INVALID_PARAMETER;
  if (writeTime) *writeTime = {};
  return registry_call([=]() -> LONG {
    KeyPlace place;
    LONG error = place_of(key, false, place);
    if (error != ERROR_SUCCESS) return error;
    const std::lock_guard guard(place.store->lock());
    error = check_exists(*place.store, place.id);
    if (error != ERROR_SUCCESS) return error;
    Store::Run run(*place.store, Query::kListKeys);
    error = run.bind(place.id).bind(int64_t{index}).step();
    return error == ERROR_SUCCESS ? give_name(run.bytes(0), name, nameCapacity) : error;
  });
}
