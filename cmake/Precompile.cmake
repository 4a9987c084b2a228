# Precompiled headers: the system's and GoogleTest's, which most sources include and which take longer to read than the
# sources themselves. Our own headers are not among them, so that a change of one compiles what includes it and no more.
#
# A source includes what it needs all the same: sanitizer and Windows builds go without, and so does QV_PRECOMPILE=OFF.
option(QV_PRECOMPILE "Precompile the headers of the system and of GoogleTest" ON)
set(qv_precompiles ${QV_PRECOMPILE})
if(QV_SANITIZE OR WIN32)
  set(qv_precompiles OFF)
endif()

# qv_precompile(TARGET GROUP headers...): the targets of one GROUP share the precompiled header that the first of them
# makes. They must have the same compile options, and all definitions of the first.
function(qv_precompile target group)
  if(NOT qv_precompiles)
    return()
  endif()
  get_property(first GLOBAL PROPERTY qv_precompiled_${group})
  if(first)
    target_precompile_headers(${target} REUSE_FROM ${first})
  else()
    target_precompile_headers(${target} PRIVATE ${ARGN})
    set_property(GLOBAL PROPERTY qv_precompiled_${group} ${target})
  endif()
  # Clang would write the time into it, which no compiler cache can know. Of precompiled headers GCC 12 tells what it
  # keeps to itself otherwise: overlaps and bounds in joined std::strings that are not there (GCC bug 105651).
  target_compile_options(${target} PRIVATE "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>"
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict -Wno-stringop-overflow -Wno-array-bounds>)
endfunction()

# The group "library" is for everything that is compiled as the library is; it begins with an empty source.
if(qv_precompiles)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/precompiled.cpp CONTENT "// Generated: makes the library's precompiled header.\n")
  add_library(qv_precompiled OBJECT ${CMAKE_BINARY_DIR}/precompiled.cpp)
  target_link_libraries(qv_precompiled PRIVATE qv_compiler)
  qv_precompile(qv_precompiled library <algorithm> <array> <cmath> <cstring> <memory> <optional> <span> <string>
    <string_view> <vector>)
endif()

# ccache has to be told that precompiled headers are meant to be cached.
foreach(language C CXX)
  if(qv_precompiles AND CMAKE_${language}_COMPILER_LAUNCHER MATCHES "ccache$")
    set(CMAKE_${language}_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros
      ${CMAKE_${language}_COMPILER_LAUNCHER})
  endif()
endforeach()
