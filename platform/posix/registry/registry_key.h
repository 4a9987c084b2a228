// Keys of the registry: their names and paths, and what an open one is.
#pragma once

#include "platform/posix/handle.h"
#include "platform/posix/registry/registry_store.h"

#include <optional>
#include <string_view>
#include <vector>

namespace qv::platform {

inline constexpr size_t kMaxKeyNameChars = 255;
inline constexpr size_t kMaxValueNameChars = 16383;
inline constexpr size_t kMaxKeyDepth = 512;

/// A name as it is compared and ordered: upper case, unit by unit, as big-endian bytes. Short names, which all names
/// of settings are, need no memory.
class FoldedName {
public:
  explicit FoldedName(std::u16string_view name);
  FoldedName(const FoldedName&) = delete;
  FoldedName& operator=(const FoldedName&) = delete;
  std::span<const BYTE> bytes() const { return {longer_.empty() ? here_.data() : longer_.data(), size_}; }

private:
  std::array<BYTE, 64> here_;
  std::vector<BYTE> longer_;
  size_t size_;
};

/// The components of a key's path, empty ones left out; nothing when the path starts with a backslash, has a component
/// that is too long or too many of them.
std::optional<std::vector<std::u16string_view>> split_key_path(const WCHAR* path);

class RegistryKey final : public KernelObject {
public:
  RegistryKey(std::shared_ptr<Store> store, int64_t id) : store_(std::move(store)), id_(id) {}
  const std::shared_ptr<Store>& store() const { return store_; }
  int64_t id() const { return id_; }

private:
  std::shared_ptr<Store> store_;
  int64_t id_;
};

/// The store and the key in it that a handle, a root among them, stands for.
struct KeyPlace {
  std::shared_ptr<Store> store;
  int64_t id = 0;
};

/// Finds the place of a handle; for a root, `create` makes the database where it is missing.
LONG place_of(HKEY key, bool create, KeyPlace& place);

/// Returns ERROR_KEY_DELETED when the key is not there any more. The caller holds the store's lock.
LONG check_exists(Store& store, int64_t id);

/// Does `body`, which returns a registry error; lack of memory is ERROR_NOT_ENOUGH_MEMORY.
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

/// Puts a stored name into a caller's buffer of *capacity characters, terminator included, or returns ERROR_MORE_DATA;
/// *capacity becomes its length.
LONG give_name(std::span<const BYTE> stored, WCHAR* name, DWORD* capacity);

} // namespace qv::platform
