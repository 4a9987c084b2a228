// Rows of QvResultText: a result and its sentence.
#pragma once

#include "qv/language.h"
#include "qv/result.h"

#include <span>

namespace qv {

/// A sentence without a full stop, in the order of QVLANGUAGE: English, German, French, Spanish, Italian, Portuguese,
/// Dutch, Swedish, Danish, Norwegian, Finnish, Polish, Czech, Russian, Turkish, Japanese, Korean, Chinese.
struct ResultSentence {
  HRESULT result;
  QVSTRINGRECORD texts;
};

/// An error of the system as a result.
constexpr HRESULT result_of_system(DWORD error) {
  return static_cast<HRESULT>(0x80070000u) | static_cast<HRESULT>(error);
}

/// Of the codes of qv/result.h.
std::span<const ResultSentence> library_sentences();
/// Of the standard results and of errors of the system.
std::span<const ResultSentence> standard_sentences();

} // namespace qv
