# qv_family(NAME files...): the object library of one family's sources.
function(qv_family name)
  add_library(qv_${name} OBJECT ${ARGN})
  target_include_directories(qv_${name} PRIVATE ${CMAKE_SOURCE_DIR}/include)
  target_compile_definitions(qv_${name} PRIVATE QVKERNEL_BUILDING)
  target_link_libraries(qv_${name} PRIVATE qv_compiler)
endfunction()
