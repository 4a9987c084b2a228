# qv_soxr: libsoxr, where it is for the platform that is built for.
find_path(QV_SOXR_INCLUDE soxr.h)
find_library(QV_SOXR_LIBRARY soxr)
mark_as_advanced(QV_SOXR_INCLUDE QV_SOXR_LIBRARY)
if(QV_SOXR_INCLUDE AND QV_SOXR_LIBRARY)
  add_library(qv_soxr INTERFACE)
  target_include_directories(qv_soxr SYSTEM INTERFACE ${QV_SOXR_INCLUDE})
  target_link_libraries(qv_soxr INTERFACE ${QV_SOXR_LIBRARY})
endif()
