// Formats as _qvwaveformat records where a function takes a WAVEFORMATEX.
//
// A header that declares such functions lists them with QV_ON_RECORDS. Each then also takes records (by reference or
// pointer), in any mix with headers; the record is passed on as the plain header that it converts to.
#pragma once

#include "qv/audio.h"

#include <type_traits>
#include <utility>

namespace qv {

template <class T>
inline constexpr bool is_record =
    std::is_same_v<std::remove_cvref_t<T>, _qvwaveformat> ||
    std::is_same_v<std::remove_cv_t<std::remove_pointer_t<std::remove_cvref_t<T>>>, _qvwaveformat>;

/// The header of a record; any other argument as it is.
inline _qvwaveformat_wfxcopyhelper as_header(const _qvwaveformat& record) {
  return _qvwaveformat_wfxcopyhelper(record);
}
inline _qvwaveformat_wfxcopyhelper as_header(const _qvwaveformat* record) {
  return _qvwaveformat_wfxcopyhelper(*record);
}
template <class T>
requires(!is_record<T>) T && as_header(T&& argument) { return std::forward<T>(argument); }

} // namespace qv

#define QV_ON_RECORDS(name)                                                                                            \
  template <class... Arguments>                                                                                        \
  requires(qv::is_record<Arguments> || ...) auto name(Arguments&&... arguments) {                                      \
    return ::name(qv::as_header(std::forward<Arguments>(arguments))...);                                               \
  }
