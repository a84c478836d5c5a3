# The libraries: one source tree, compiled for the baseline and, with KIVSR_V3 and KIVSR_V4, once more each for AVX2 + FMA
# and for AVX-512.
include(CheckCXXSourceCompiles)

# Processors without a file of their own in src/frame/simd take generic.h. What no processor may lack is said here, once.
if(CMAKE_CXX_BYTE_ORDER STREQUAL "BIG_ENDIAN")
  message(FATAL_ERROR "kivsr needs a little-endian processor; ${CMAKE_SYSTEM_PROCESSOR} is big-endian")
endif()
check_cxx_source_compiles("#include <limits>
  typedef float Four __attribute__((vector_size(16)));
  static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);
  int main(int count, char**) {
    const Four v = {1, 2, 3, float(count)};
    return int(__builtin_shufflevector(v, v, 3, 2, 1, 0)[0]);
  }" KIVSR_HAS_VECTORS)
if(NOT KIVSR_HAS_VECTORS)
  message(FATAL_ERROR "kivsr needs IEEE arithmetic and a compiler with vector extensions: GCC 12, clang 14 or newer")
endif()
check_cxx_source_compiles("int main() { return sizeof(int[__x86_64__]) == 0; }" KIVSR_IS_X86_64)
if((KIVSR_V3 OR KIVSR_V4) AND NOT KIVSR_IS_X86_64)
  message(FATAL_ERROR "KIVSR_V3 and KIVSR_V4 are for 64-bit x86; this target is ${CMAKE_SYSTEM_PROCESSOR}")
endif()

file(GLOB_RECURSE KIVSR_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)
list(FILTER KIVSR_SOURCES EXCLUDE REGEX "/src/core/")

# Rounding is part of the interface: no fused operations that the source does not name, SSE arithmetic on i386.
add_library(kivsr_arithmetic INTERFACE)
target_compile_options(kivsr_arithmetic INTERFACE -ffp-contract=off -fno-math-errno)
check_cxx_source_compiles("int main() { return sizeof(int[__i386__]) == 0; }" KIVSR_IS_I386)
if(KIVSR_IS_I386)
  target_compile_options(kivsr_arithmetic INTERFACE -msse2 -mfpmath=sse)
endif()
if(KIVSR_GENERIC)
  target_compile_definitions(kivsr_arithmetic INTERFACE KIVSR_GENERIC)
endif()
target_include_directories(kivsr_arithmetic INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)

# The library throws nothing, needs no runtime of the language, and callers on i386 may not align the stack.
add_library(kivsr_flags INTERFACE)
target_link_libraries(kivsr_flags INTERFACE kivsr_arithmetic)
target_compile_options(kivsr_flags INTERFACE -fno-exceptions -fno-rtti -fno-threadsafe-statics -fvisibility=hidden
  -fvisibility-inlines-hidden ${KIVSR_HARDENING_COMPILE})
if(KIVSR_IS_I386)
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
  target_link_options(${target} PRIVATE -Wl,-soname,lib${name}.so.5.2 -Wl,--as-needed ${KIVSR_HARDENING_LINK}
    $<$<NOT:$<BOOL:${KIVSR_SANITIZE}>>:-Wl,-z,defs>)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# An archive of everything, constants included.
function(kivsr_archive target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kivsr_flags> INTERFACE m)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  set_target_properties(${target} PROPERTIES OUTPUT_NAME kivsr)
  add_library(kivsr::${target} ALIAS ${target})
endfunction()

# Compiled once for the shared and the static library.
add_library(kivsr_objects OBJECT ${KIVSR_SOURCES})
target_link_libraries(kivsr_objects PRIVATE kivsr_flags)
add_library(kivsr_static STATIC $<TARGET_OBJECTS:kivsr_objects> src/core/constants.cpp)
kivsr_archive(kivsr_static)

# Both kinds are made; with BUILD_SHARED_LIBS=OFF the archives alone, and kivsr::kivsr is one of them.
set(KIVSR_SHARED ON)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  set(KIVSR_SHARED OFF)
  add_library(kivsr::kivsr ALIAS kivsr_static)
else()
  add_library(kivcore SHARED src/core/constants.cpp)
  kivsr_shared(kivcore kivcore)
  add_library(kivsrw7 SHARED $<TARGET_OBJECTS:kivsr_objects>)
  kivsr_shared(kivsrw7 kivsrw7)
  target_link_libraries(kivsrw7 PUBLIC kivcore PRIVATE m)
  set_target_properties(kivsrw7 PROPERTIES EXPORT_NAME kivsr BUILD_RPATH "$ORIGIN" INSTALL_RPATH "$ORIGIN")
  add_library(kivsr::kivsr ALIAS kivsrw7)
endif()

# GCC 12 warns of its own header of AVX-512.
set(kivsr_v4_options -march=x86-64-v4 $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
  $<$<CXX_COMPILER_ID:GNU>:-Wno-uninitialized>)
set(kivsr_v3_options -march=x86-64-v3)

# The dynamic loader prefers these folders beside the baseline library on a processor that can run what is in them.
function(kivsr_hardware_library level)
  set(folder glibc-hwcaps/x86-64-${level})
  add_library(kivsr_objects_${level} OBJECT ${KIVSR_SOURCES})
  target_link_libraries(kivsr_objects_${level} PRIVATE kivsr_flags)
  target_compile_options(kivsr_objects_${level} PRIVATE ${kivsr_${level}_options})
  add_library(kivsr_static_${level} STATIC $<TARGET_OBJECTS:kivsr_objects_${level}> src/core/constants.cpp)
  kivsr_archive(kivsr_static_${level})
  set_target_properties(kivsr_static_${level} PROPERTIES
    ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/${folder})
  if(KIVSR_SHARED)
    set(target kivsrw7_${level})
    add_library(${target} SHARED $<TARGET_OBJECTS:kivsr_objects_${level}>)
    kivsr_shared(${target} kivsrw7)
    target_link_libraries(${target} PUBLIC kivcore PRIVATE m)
    set_target_properties(${target} PROPERTIES BUILD_RPATH "$ORIGIN/../.." INSTALL_RPATH "$ORIGIN/../.."
      LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${folder})
  endif()
endfunction()
if(KIVSR_V3 OR KIVSR_V4)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Where it knows the registers of a callee, GCC forgets the vzeroupper behind the call (tests/package/upper_halves).
    set_source_files_properties(src/aurora/vad.cpp src/vq/split_vector.cpp PROPERTIES COMPILE_OPTIONS -fno-ipa-ra)
  endif()
endif()
foreach(level v3 v4)
  string(TOUPPER ${level} option)
  if(KIVSR_${option})
    kivsr_hardware_library(${level})
  else()  # the loader would take what the folder was configured for before
    file(REMOVE_RECURSE ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/glibc-hwcaps/x86-64-${level})
  endif()
endforeach()
