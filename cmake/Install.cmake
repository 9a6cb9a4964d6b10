# Installs the library, its headers and pages, and the files that CMake and pkg-config look for.
include(CMakePackageConfigHelpers)

set(installed VEKLogFiles)
if(NOT VEK_PLATFORM)
  list(APPEND installed VEKmsgClasses VEKutil VEKStdCore)
  install(DIRECTORY platform/msgclasses platform/util DESTINATION ${VEK_INCLUDEDIR}
          FILES_MATCHING PATTERN "*.h" PATTERN NewFile.h EXCLUDE)
endif()
foreach(name VEKLogFiles VEKmsgClasses VEKutil)
  if(TARGET ${name}Static)
    list(APPEND installed ${name}Static)
  endif()
endforeach()
install(TARGETS ${installed} EXPORT VEKLogFilesTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${VEK_INCLUDEDIR})
install(FILES docs/man/libVEKLogFiles.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
install(FILES docs/man/veklogfiles.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VEKLogFiles)
install(EXPORT VEKLogFilesTargets NAMESPACE VEKLogFiles:: DESTINATION ${package_dir})
configure_package_config_file(cmake/VEKLogFilesConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/VEKLogFilesConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/VEKLogFilesConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/VEKLogFilesConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/VEKLogFilesConfigVersion.cmake
        DESTINATION ${package_dir})

configure_file(cmake/veklogfiles.pc.in veklogfiles.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/veklogfiles.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
