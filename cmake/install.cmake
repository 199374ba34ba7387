# A relocatable package: find_package(vlgim) and pkg-config --cflags --libs vlgim both find it.
include(CMakePackageConfigHelpers)

install(TARGETS vlgim EXPORT vlgimTargets
  FILE_SET HEADERS
  FILE_SET services DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vlgim/services)
install(EXPORT vlgimTargets NAMESPACE vlgim:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlgim)

configure_package_config_file(cmake/vlgimConfig.cmake.in vlgimConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlgim)
write_basic_package_version_file(vlgimConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/vlgimConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/vlgimConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlgim)

# The prefix is found from where the .pc file lies, so that the folder can be moved.
file(RELATIVE_PATH pc_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
if(NOT BUILD_SHARED_LIBS)
  set(pc_definitions " -DVLGIM_STATIC")
endif()
configure_file(cmake/vlgim.pc.in vlgim.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vlgim.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
