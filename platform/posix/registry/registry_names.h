// Names of keys and values, and where the registry is.
#pragma once

#include "qv/win32.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qv::platform {

inline constexpr size_t kMostKeyNameChars = 255;
inline constexpr size_t kMostValueNameChars = 16383;
inline constexpr size_t kMostKeyDepth = 512;

/// What names are compared and ordered by: upper case, unit by unit, as big-endian bytes. Short names, which all names
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

/// The database's file: $QV_REGISTRY, else below $XDG_CONFIG_HOME (an absolute path) or $HOME/.config. Empty when none
/// of them is set.
std::string registry_file();

} // namespace qv::platform
