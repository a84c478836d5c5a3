# cmake --install: headers, libraries with their linker names, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(TARGETS kivcore kivsrw7 kivsr_static EXPORT kivsr
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(level v3 v4)
  if(TARGET kivsrw7_${level})
    install(TARGETS kivsrw7_${level} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps/x86-64-${level})
  endif()
endforeach()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/links)
foreach(name kivcore kivsrw7)
  file(CREATE_LINK lib${name}.so.5.2 ${CMAKE_BINARY_DIR}/links/lib${name}.so SYMBOLIC)
  install(FILES ${CMAKE_BINARY_DIR}/links/lib${name}.so DESTINATION ${CMAKE_INSTALL_LIBDIR})
endforeach()

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/kivsr)
install(EXPORT kivsr NAMESPACE kivsr:: FILE kivsr-targets.cmake DESTINATION ${package})
write_basic_package_version_file(kivsr-config-version.cmake COMPATIBILITY ExactVersion)
configure_file(cmake/kivsr.pc.in kivsr.pc @ONLY)
install(FILES cmake/kivsr-config.cmake ${CMAKE_BINARY_DIR}/kivsr-config-version.cmake DESTINATION ${package})
install(FILES ${CMAKE_BINARY_DIR}/kivsr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
