# 64-bit ARM (scripts/setup arm64).
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(target aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
