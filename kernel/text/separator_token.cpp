#include "kernel/text/separator_token.h"

#include "kernel/shared_value.h"

#include "qv/text.h"

#include <algorithm>
#include <string_view>

namespace qv::kernel {
namespace {

constexpr size_t kTokens = static_cast<size_t>(Token::kCount);

struct TokenTexts {
  TokenText of[kTokens];
};

using Name = std::basic_string_view<WCHAR>;

// The names of the tokens, in the order of Token.
constexpr Name kNames[kTokens] = {QV_TEXT("m.b"), QV_TEXT("b.t"), QV_TEXT("SMPTE.Whole"), QV_TEXT("SMPTE.NonDrop"),
                                  QV_TEXT("SMPTE.Drop")};
constexpr TokenTexts kDefaults = {{{QV_TEXT(".")}, {QV_TEXT(".")}, {QV_TEXT(":")}, {QV_TEXT(".")}, {QV_TEXT(",")}}};

constinit SharedValue<TokenTexts> texts_in_force(kDefaults);

} // namespace

TokenText token_text(Token token) { return texts_in_force.load().of[static_cast<size_t>(token)]; }

} // namespace qv::kernel

HRESULT QvText_SetToken(const WCHAR* name, const WCHAR* text) {
  using namespace qv::kernel;
  if (!name) return E_INVALIDARG;
  const auto* row = std::find(std::begin(kNames), std::end(kNames), Name(name));
  if (row == std::end(kNames)) return E_INVALIDARG;
  const size_t index = static_cast<size_t>(row - kNames);

  TokenText replacement = kDefaults.of[index];
  if (text) {
    const Name view(text);
    if (view.size() >= kTokenCapacity) return E_INVALIDARG;
    replacement = {};
    view.copy(replacement.text, view.size());
  }
  texts_in_force.update([&](TokenTexts& texts) { texts.of[index] = replacement; });
  return S_OK;
}
