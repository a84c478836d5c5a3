# 64-bit ARM with the program: the libraries that it links are Debian's, unpacked beside the cross compiler
# (scripts/setup arm64-tools).
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(target aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
set(system ${CMAKE_CURRENT_LIST_DIR}/../build/cross/system-${target})
list(APPEND CMAKE_FIND_ROOT_PATH ${system})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${system})
set(ENV{PKG_CONFIG_LIBDIR} ${system}/usr/lib/${target}/pkgconfig:${system}/usr/share/pkgconfig)
set(CMAKE_LIBRARY_ARCHITECTURE ${target})
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Wl,-rpath-link,${system}/usr/lib/${target} -Wl,-rpath-link,${system}/lib/${target}")
endforeach()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR} -L ${system})
