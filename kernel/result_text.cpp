#include "qv/result.h"

namespace {

struct ResultText {
  HRESULT result;
  const char* text;
};

#define QV_RESULT_ROW(name, value, text) {name, text},
constexpr ResultText kTexts[] = {{S_OK, "success"},
                                 {S_FALSE, "success with a condition"},
                                 {E_NOTIMPL, "not supported"},
                                 {E_POINTER, "a pointer is null"},
                                 {E_FAIL, "failed"},
                                 {E_UNEXPECTED, "the object is not open"},
                                 {E_OUTOFMEMORY, "out of memory"},
                                 {E_INVALIDARG, "an argument is not valid"},
                                 QV_RESULT_TABLE(QV_RESULT_ROW)};
#undef QV_RESULT_ROW

} // namespace

const char* QvResultText(HRESULT result) {
  for (const ResultText& row : kTexts)
    if (row.result == result) return row.text;
  return "unknown result";
}
