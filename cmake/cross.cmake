# Cross compilation with Debian's compilers for `target`, an emulator running the tests. A processor's file sets target and
# CMAKE_SYSTEM_PROCESSOR and includes this one; scripts/setup installs what it needs.
set(CMAKE_SYSTEM_NAME Linux)
set(cross ${CMAKE_CURRENT_LIST_DIR}/../build/cross/usr/bin)
find_program(KIVSR_CROSS_C ${target}-gcc-12 HINTS ${cross} REQUIRED)
find_program(KIVSR_CROSS_CXX ${target}-g++-12 HINTS ${cross} REQUIRED)
set(CMAKE_C_COMPILER ${KIVSR_CROSS_C})
set(CMAKE_CXX_COMPILER ${KIVSR_CROSS_CXX})
set(CMAKE_FIND_ROOT_PATH /usr/${target})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR} -L /usr/${target})
