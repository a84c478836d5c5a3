# The libraries: one source tree, compiled for the baseline and, with KIVSR_V3, once more for AVX2 + FMA.
include(GNUInstallDirs)

file(GLOB_RECURSE KIVSR_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)
list(FILTER KIVSR_SOURCES EXCLUDE REGEX "/src/core/")

# Rounding is part of the interface: no fused operations that the source does not name, SSE arithmetic on i386.
add_library(kivsr_arithmetic INTERFACE)
target_compile_options(kivsr_arithmetic INTERFACE -ffp-contract=off -fno-math-errno)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_options(kivsr_arithmetic INTERFACE -msse2 -mfpmath=sse)
endif()
target_include_directories(kivsr_arithmetic INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)

# The library throws nothing, needs no runtime of the language, and callers on i386 may not align the stack.
add_library(kivsr_flags INTERFACE)
target_link_libraries(kivsr_flags INTERFACE kivsr_arithmetic)
target_compile_options(kivsr_flags INTERFACE -fno-exceptions -fno-rtti -fno-threadsafe-statics -fvisibility=hidden
  -fvisibility-inlines-hidden)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_options(kivsr_flags INTERFACE -mstackrealign)
endif()

if(KIVSR_WERROR)
  # What both compilers mean by -Wconversion: clang's has the signs of indices too.
  target_compile_options(kivsr_flags INTERFACE -Wshadow -Wconversion -Wno-sign-conversion)
endif()

# A shared library that needs libc and libm only: linked by the C driver, every symbol resolved.
function(kivsr_shared target name)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kivsr_flags>)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name} SUFFIX ".so.5.2" LINKER_LANGUAGE C)
  target_link_options(${target} PRIVATE -Wl,-soname,lib${name}.so.5.2 -Wl,-z,relro,-z,now,--as-needed
    $<$<NOT:$<BOOL:${KIVSR_SANITIZE}>>:-Wl,-z,defs>)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

add_library(kivcore SHARED src/core/constants.cpp)
kivsr_shared(kivcore kivcore)

# Compiled once for the shared and the static library.
add_library(kivsr_objects OBJECT ${KIVSR_SOURCES})
target_link_libraries(kivsr_objects PRIVATE kivsr_flags)

add_library(kivsrw7 SHARED $<TARGET_OBJECTS:kivsr_objects>)
kivsr_shared(kivsrw7 kivsrw7)
target_link_libraries(kivsrw7 PUBLIC kivcore PRIVATE m)
set_target_properties(kivsrw7 PROPERTIES EXPORT_NAME kivsr BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN")
add_library(kivsr::kivsr ALIAS kivsrw7)

add_library(kivsr_static STATIC $<TARGET_OBJECTS:kivsr_objects> src/core/constants.cpp)
target_link_libraries(kivsr_static PRIVATE $<BUILD_INTERFACE:kivsr_flags> INTERFACE m)
target_include_directories(kivsr_static INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(kivsr_static PROPERTIES OUTPUT_NAME kivsr EXPORT_NAME kivsr_static)
add_library(kivsr::kivsr_static ALIAS kivsr_static)

if(KIVSR_V3)
  # The dynamic loader prefers this folder beside the baseline library on a processor that can run it.
  add_library(kivsrw7_v3 SHARED ${KIVSR_SOURCES})
  kivsr_shared(kivsrw7_v3 kivsrw7)
  target_compile_options(kivsrw7_v3 PRIVATE -march=x86-64-v3)
  target_link_libraries(kivsrw7_v3 PUBLIC kivcore PRIVATE m)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Where it knows the registers of a callee, GCC forgets the vzeroupper behind the call (tests/package/upper_halves).
    set_source_files_properties(src/aurora/vad.cpp src/vq/split_vector.cpp PROPERTIES COMPILE_OPTIONS -fno-ipa-ra)
  endif()
  set_target_properties(kivsrw7_v3 PROPERTIES BUILD_RPATH "$ORIGIN/../.." INSTALL_RPATH "$ORIGIN/../.."
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/glibc-hwcaps/x86-64-v3)
endif()
