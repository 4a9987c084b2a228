# Flags that every target of the project gets, through the interface target qv_compiler.
add_library(qv_compiler INTERFACE)
target_compile_options(qv_compiler INTERFACE -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Wcast-align
  $<$<CXX_COMPILER_ID:Clang>:-Wno-unknown-warning-option>
  # Results are promised to the bit: no fused multiply-add unless it is written.
  -ffp-contract=off)
target_include_directories(qv_compiler INTERFACE ${CMAKE_SOURCE_DIR})

if(QV_SANITIZE)
  target_compile_options(qv_compiler INTERFACE -fsanitize=${QV_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  target_link_options(qv_compiler INTERFACE -fsanitize=${QV_SANITIZE})
endif()

if(WIN32)
  target_compile_definitions(qv_compiler INTERFACE _WIN32_WINNT=0x0601 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
endif()
