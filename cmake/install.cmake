# cmake --install: headers, libraries with their linker names, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

# pkg-config files find the prefix from where they lie, whatever the depth of the library folder.
file(RELATIVE_PATH KIVSR_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KIVSR_PREFIX_FROM_PC "${KIVSR_PREFIX_FROM_PC}")
set(KIVSR_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
  set(KIVSR_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
endif()
set(hwcaps ${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/kivsr)

# A link of that name, installed to the library folder.
function(kivsr_install_link name file)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/links)
  file(CREATE_LINK ${file} ${PROJECT_BINARY_DIR}/links/${name} SYMBOLIC)
  install(FILES ${PROJECT_BINARY_DIR}/links/${name} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(TARGETS kivsr_static EXPORT kivsr ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(KIVSR_SHARED)
  install(TARGETS kivcore kivsrw7 EXPORT kivsr LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
foreach(level v3 v4)
  if(TARGET kivsr_static_${level})
    install(TARGETS kivsr_static_${level} EXPORT kivsr ARCHIVE DESTINATION ${hwcaps}/x86-64-${level})
  endif()
  if(TARGET kivsrw7_${level})
    install(TARGETS kivsrw7_${level} LIBRARY DESTINATION ${hwcaps}/x86-64-${level})
  endif()
endforeach()
foreach(name kivcore kivsrw7)
  if(KIVSR_SHARED)
    kivsr_install_link(lib${name}.so lib${name}.so.5.2)
  endif()
  kivsr_install_link(lib${name}.a libkivsr.a)  # what -static and -lkivsrw7 look for
endforeach()

install(EXPORT kivsr NAMESPACE kivsr:: FILE kivsr-targets.cmake DESTINATION ${package})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kivsr-config-version.cmake COMPATIBILITY SameMajorVersion)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kivsr.pc.in ${PROJECT_BINARY_DIR}/kivsr.pc @ONLY)
install(FILES ${PROJECT_SOURCE_DIR}/cmake/kivsr-config.cmake ${PROJECT_BINARY_DIR}/kivsr-config-version.cmake
  DESTINATION ${package})
install(FILES ${PROJECT_BINARY_DIR}/kivsr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${PROJECT_SOURCE_DIR}/docs/man/kivsr.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
