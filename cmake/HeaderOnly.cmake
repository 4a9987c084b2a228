# Header-only libraries of the host system, as interface targets: qv_highway, qv_cli11, qv_json.
#
# A cross build takes the same headers, but must not see the host's whole include folder: each library's own folder is
# linked into the build tree.
function(qv_header_only target header folder)
  string(MAKE_C_IDENTIFIER "QV_HEADERS_${folder}" cache)
  find_path(${cache} ${header} PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ${cache})
    message(FATAL_ERROR "${header} was not found: run scripts/bootstrap")
  endif()
  add_library(${target} INTERFACE)
  if(CMAKE_CROSSCOMPILING)
    set(mirror ${CMAKE_BINARY_DIR}/host-headers/${folder})
    file(MAKE_DIRECTORY ${mirror})
    file(CREATE_LINK ${${cache}}/${folder} ${mirror}/${folder} SYMBOLIC)
    target_include_directories(${target} SYSTEM INTERFACE ${mirror})
  else()
    target_include_directories(${target} SYSTEM INTERFACE ${${cache}})
  endif()
endfunction()

qv_header_only(qv_highway hwy/highway.h hwy)
# Its checks of debug and sanitizer builds would need its run-time library, which is not linked.
target_compile_definitions(qv_highway INTERFACE HWY_IS_DEBUG_BUILD=0)
qv_header_only(qv_cli11 CLI/CLI.hpp CLI)
qv_header_only(qv_json nlohmann/json.hpp nlohmann)
