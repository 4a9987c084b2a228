# PCRE, whose interface the library passes on unchanged: the interface target qv_pcre, and QV_HAVE_PCRE.
#
# Natively the distribution's shared library is linked even though nothing here calls it, so that a search in our
# library finds its names. For Windows it is built from the distribution's source package, which
# scripts/fetch-pcre-source unpacks to QV_PCRE_SOURCE; without that the build goes on and the DLL has no pcre_* names.
add_library(qv_pcre INTERFACE)
if(NOT WIN32)
  find_library(QV_PCRE_LIBRARY pcre REQUIRED)
  target_link_libraries(qv_pcre INTERFACE -Wl,--push-state,--no-as-needed ${QV_PCRE_LIBRARY} -Wl,--pop-state)
  set(QV_HAVE_PCRE ON)
  return()
endif()

set(QV_PCRE_SOURCE ${CMAKE_SOURCE_DIR}/build/pcre-source CACHE PATH "Unpacked source package of PCRE")
if(NOT EXISTS ${QV_PCRE_SOURCE}/pcre_compile.c)
  message(STATUS "PCRE: no source in ${QV_PCRE_SOURCE}; building without the pcre_* interface")
  set(QV_HAVE_PCRE OFF)
  return()
endif()
set(QV_HAVE_PCRE ON)

set(qv_pcre_build ${CMAKE_BINARY_DIR}/pcre)
configure_file(${QV_PCRE_SOURCE}/pcre.h.generic ${qv_pcre_build}/pcre.h COPYONLY)
configure_file(${QV_PCRE_SOURCE}/pcre_chartables.c.dist ${qv_pcre_build}/pcre_chartables.c COPYONLY)
configure_file(cmake/pcre_config.h.in ${qv_pcre_build}/config.h COPYONLY)
set(qv_pcre_files ${qv_pcre_build}/pcre_chartables.c)
foreach(name byte_order compile config dfa_exec exec fullinfo get globals info jit_compile maketables newline ord2utf8
        refcount string_utils study tables ucd valid_utf8 version xclass)
  # pcre_info is the distribution's addition, for callers of the interface's older releases.
  if(EXISTS ${QV_PCRE_SOURCE}/pcre_${name}.c)
    list(APPEND qv_pcre_files ${QV_PCRE_SOURCE}/pcre_${name}.c)
  endif()
endforeach()

# On Windows its own headers mark the interface for export unless told otherwise; the marks travel with the objects
# into our DLL. Its warnings are its makers' business.
add_library(qv_pcre_objects OBJECT ${qv_pcre_files})
target_compile_definitions(qv_pcre_objects PRIVATE HAVE_CONFIG_H)
target_compile_options(qv_pcre_objects PRIVATE -w)
target_include_directories(qv_pcre_objects PRIVATE ${qv_pcre_build} ${QV_PCRE_SOURCE})
target_sources(qv_pcre INTERFACE $<TARGET_OBJECTS:qv_pcre_objects>)
