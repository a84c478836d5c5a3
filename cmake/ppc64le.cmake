# 64-bit PowerPC, little-endian (scripts/setup ppc64le).
set(CMAKE_SYSTEM_PROCESSOR ppc64le)
set(target powerpc64le-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
