# Installation, and the package that find_package(QvKernel) finds.
include(CMakePackageConfigHelpers)
if(NOT WIN32)
  # The installed program finds the library by its own place, wherever the two are moved together.
  file(RELATIVE_PATH qv_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(qv PROPERTIES INSTALL_RPATH "$ORIGIN/${qv_bin_to_lib}")
endif()
install(TARGETS qvkernel EXPORT QvKernelTargets)
install(TARGETS qv)
install(DIRECTORY include/qv DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
set(qv_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/QvKernel)
install(EXPORT QvKernelTargets NAMESPACE QvKernel:: DESTINATION ${qv_package_folder})
configure_package_config_file(cmake/QvKernelConfig.cmake.in ${CMAKE_BINARY_DIR}/QvKernelConfig.cmake
  INSTALL_DESTINATION ${qv_package_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/QvKernelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/QvKernelConfig.cmake ${CMAKE_BINARY_DIR}/QvKernelConfigVersion.cmake
  DESTINATION ${qv_package_folder})
