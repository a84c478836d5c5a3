# 64-bit RISC-V (scripts/setup riscv64).
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(target riscv64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
