#include "platform/posix/registry/registry_key.h"

#include <locale.h>
#include <wctype.h>

namespace qv::platform {

namespace {

/// Upper case as Windows' own table has it: one unit to one unit, the same for every user, and nothing outside ASCII
/// becomes ASCII (as the dotless i and the long s otherwise would).
char16_t fold(char16_t unit) {
  if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
  static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (!unicode) return unit;
  const wint_t upper = towupper_l(unit, unicode);
  return upper >= 0x80 && upper <= 0xFFFF ? static_cast<char16_t>(upper) : unit;
}

} // namespace

FoldedName::FoldedName(std::u16string_view name) : size_(2 * name.size()) {
  if (size_ > here_.size()) longer_.resize(size_);
  BYTE* out = longer_.empty() ? here_.data() : longer_.data();
  for (const char16_t unit : name) {
    const char16_t folded = fold(unit);
    *out++ = static_cast<BYTE>(folded >> 8);
    *out++ = static_cast<BYTE>(folded & 0xFF);
  }
}

std::optional<std::vector<std::u16string_view>> split_key_path(const WCHAR* path) {
  std::vector<std::u16string_view> components;
  if (!path) return components;
  std::u16string_view rest = path;
  if (rest.starts_with(u'\\')) return std::nullopt;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find(u'\\'), rest.size());
    if (end > kMaxKeyNameChars || components.size() == kMaxKeyDepth) return std::nullopt;
    if (end > 0) components.push_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return components;
}

} // namespace qv::platform
