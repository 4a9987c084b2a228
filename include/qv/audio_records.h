// Formats as _qvwaveformat records where a function takes a WAVEFORMATEX.
//
// A header that declares such functions lists them with QV_ON_RECORDS. A call may then pass records, by reference or
// pointer (not null), in any mix with headers; each is passed on as the plain header that it converts to:
//
//     QvAudio_Copy(&header, floats, record, shorts, frames, 1.0f);
//
// The name itself stays that of one function, whose address can be taken: `auto copy = &QvAudio_Copy;` takes headers.
// (QvAudio_ExtractChannel and QvAudio_MuteChannel have a second form without a header: there a cast to the type says
// which is meant.) A call that is qualified, `::QvAudio_Copy(...)`, or goes through such an address takes no records.
#pragma once

#include "qv/audio.h"

#include <type_traits>
#include <utility>

namespace qv::on_records {

template <class T>
inline constexpr bool is_record = std::is_same_v<std::remove_cvref_t<T>, _qvwaveformat>;

template <class T>
inline constexpr bool is_record_or_pointer = is_record<T> || is_record<std::remove_pointer_t<std::remove_cvref_t<T>>>;

/// The header of a record; any other argument as it is.
template <class T>
decltype(auto) as_header(T&& argument) {
  if constexpr (is_record<T>)
    return _qvwaveformat_wfxcopyhelper(argument);
  else if constexpr (is_record_or_pointer<T>)
    return _qvwaveformat_wfxcopyhelper(*argument);
  else
    return std::forward<T>(argument);
}

} // namespace qv::on_records

// In a namespace that only calls with a record look into: beside the function they would keep its address from being
// taken.
#define QV_ON_RECORDS(name)                                                                                            \
  namespace qv::on_records {                                                                                           \
  template <class... Arguments>                                                                                        \
  auto name(Arguments&&... arguments) requires(is_record_or_pointer<Arguments> || ...) {                               \
    return ::name(as_header(std::forward<Arguments>(arguments))...);                                                   \
  }                                                                                                                    \
  }
