// Values: reading, writing, deleting and listing them.
#include "platform/posix/registry/registry_key.h"

#include <cstring>

namespace qv::platform {

namespace {

/// The name given to a key's own value.
std::u16string_view value_name(const WCHAR* name) { return name ? name : std::u16string_view(); }

/// Hands a stored value out as RegQueryValueExW does.
LONG give_value(const Store::Run& run, int type_column, DWORD* type, BYTE* data, DWORD* bytes) {
  const std::span<const BYTE> stored = run.bytes(type_column + 1);
  const DWORD capacity = bytes ? *bytes : 0;
  if (type) *type = static_cast<DWORD>(run.number(type_column));
  if (bytes) *bytes = static_cast<DWORD>(stored.size());
  if (!data) return ERROR_SUCCESS;
  if (stored.size() > capacity) return ERROR_MORE_DATA;
  if (!stored.empty()) std::memcpy(data, stored.data(), stored.size());
  return ERROR_SUCCESS;
}

/// A name of a value that was looked for in vain: the key may have been deleted.
LONG not_found(Store& store, int64_t key) {
  const LONG error = check_exists(store, key);
  return error == ERROR_SUCCESS ? LONG{ERROR_FILE_NOT_FOUND} : error;
}

} // namespace

} // namespace qv::platform

using namespace qv::platform;

LONG RegQueryValueExW(HKEY key, const WCHAR* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* bytes) {
  if (reserved || (data && !bytes)) return ERROR_INVALID_PARAMETER;
  return registry_call([=]() -> LONG {
    KeyPlace place;
    LONG error = place_of(key, false, place);
    if (error != ERROR_SUCCESS) return error;
    const FoldedName folded(value_name(name));
    const std::lock_guard guard(place.store->lock());
    Store::Run run(*place.store, Query::kFindValue);
    error = run.bind(place.id).bind(folded.bytes()).step();
    if (error == ERROR_NO_MORE_ITEMS) return not_found(*place.store, place.id);
    return error == ERROR_SUCCESS ? give_value(run, 0, type, data, bytes) : error;
  });
}

LONG RegSetValueExW(HKEY key, const WCHAR* name, DWORD reserved, DWORD type, const BYTE* data, DWORD bytes) {
  const std::u16string_view stored_name = value_name(name);
  if (reserved != 0 || (!data && bytes != 0) || stored_name.size() > kMaxValueNameChars) return ERROR_INVALID_PARAMETER;
  return registry_call([=]() -> LONG {
    KeyPlace place;
    LONG error = place_of(key, true, place);
    if (error != ERROR_SUCCESS) return error;
    const FoldedName folded(stored_name);
    const std::lock_guard guard(place.store->lock());
    Store::Run run(*place.store, Query::kSetValue);
    run.bind(place.id).bind(folded.bytes());
    run.bind({reinterpret_cast<const BYTE*>(stored_name.data()), 2 * stored_name.size()});
    run.bind(int64_t{type}).bind({data, bytes});
    int changed = 0;
    error = place.store->change(run, &changed);
    return error == ERROR_SUCCESS && changed == 0 ? LONG{ERROR_KEY_DELETED} : error;
  });
}

LONG RegDeleteValueW(HKEY key, const WCHAR* name) {
  return registry_call([=]() -> LONG {
    KeyPlace place;
    LONG error = place_of(key, false, place);
    if (error != ERROR_SUCCESS) return error;
    const FoldedName folded(value_name(name));
    const std::lock_guard guard(place.store->lock());
    Store::Run run(*place.store, Query::kDeleteValue);
    run.bind(place.id).bind(folded.bytes());
    int changed = 0;
    error = place.store->change(run, &changed);
    return error == ERROR_SUCCESS && changed == 0 ? not_found(*place.store, place.id) : error;
  });
}

LONG RegEnumValueW(HKEY key, DWORD index, WCHAR* name, DWORD* nameCapacity, DWORD* reserved, DWORD* type, BYTE* data,
                   DWORD* bytes) {
  if (!name || !nameCapacity || reserved || (data && !bytes)) return ERROR_INVALID_PARAMETER;
  return registry_call([=]() -> LONG {
    KeyPlace place;
    LONG error = place_of(key, false, place);
    if (error != ERROR_SUCCESS) return error;
    const std::lock_guard guard(place.store->lock());
    error = check_exists(*place.store, place.id);
    if (error != ERROR_SUCCESS) return error;
    Store::Run run(*place.store, Query::kListValues);
    error = run.bind(place.id).bind(int64_t{index}).step();
    if (error != ERROR_SUCCESS) return error;
    DWORD length = *nameCapacity;
    error = give_name(run.bytes(0), name, &length);
    if (error != ERROR_SUCCESS) return error;
    error = give_value(run, 1, type, data, bytes);
    if (error == ERROR_SUCCESS) *nameCapacity = length;
    return error;
  });
}
