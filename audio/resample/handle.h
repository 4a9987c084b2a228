// How converters of both generations come to be behind their handles, and begin anew.
#pragma once

#include "qv/result.h"

#include <exception>
#include <memory>
#include <utility>

namespace qv::audio {

/// Makes a converter that `set_up` (of the converter, answers a result, may throw) fills; the handle is null without.
template <class Converter, class SetUp>
HRESULT open_converter(Converter** handle, SetUp set_up) {
  if (!handle) return E_INVALIDARG;
  *handle = nullptr;
  try {
    auto made = std::make_unique<Converter>();
    const HRESULT result = set_up(*made);
    if (SUCCEEDED(result)) *handle = made.release();
    return result;
  } catch (const std::exception&) { // no memory, or more than there can be
    return E_OUTOFMEMORY;
  }
}

/// Puts what `open` makes in the place of what is behind the handle; a failure changes nothing.
template <class Converter, class Open>
HRESULT renew(Converter* handle, Open open) {
  if (!handle) return E_INVALIDARG;
  Converter* made = nullptr;
  const HRESULT result = open(&made);
  if (FAILED(result)) return result;
  *handle = std::move(*made);
  delete made;
  return S_OK;
}

} // namespace qv::audio
