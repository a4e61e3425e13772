# The language level and the compiler options of every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Debug, Release or RelWithDebInfo" FORCE)
endif()

add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 reports an overlap in every optimised `"text" + std::string` (GCC bug 105329).
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

# Several sources compiled as one share a scope: a local variable may be named like a global one of another source, and
# a class may have members of types that are local to another source. The everyday build compiles each source of the
# product alone, with these warnings.
set(Q750_UNITY_OPTIONS -Wno-shadow -Wshadow=local $<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
if(CMAKE_UNITY_BUILD)
  add_compile_options(${Q750_UNITY_OPTIONS})
endif()

# The same floating-point results on every machine: no fused multiply-add, and SSE2 instead of the wider x87
# registers on 32-bit x86, where the library therefore needs SSE2.
add_compile_options(-ffp-contract=off)
include(CheckCXXSymbolExists)
check_cxx_symbol_exists(__i386__ "" Q750_IS_32BIT_X86)
if(Q750_IS_32BIT_X86)
  add_compile_options(-msse2 -mfpmath=sse)
endif()
# 32-bit machines can open files of any size.
add_compile_definitions(_FILE_OFFSET_BITS=64)

option(Q750_SANITIZE "Build with the sanitizers of Q750_SANITIZERS" OFF)
set(Q750_SANITIZERS address,undefined CACHE STRING "address,undefined or thread, which do not go together")
if(Q750_SANITIZE)
  add_compile_options(-fsanitize=${Q750_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${Q750_SANITIZERS})
endif()

option(Q750_FUZZ "Build the fuzz targets with libFuzzer and the sanitizers; clang only" OFF)
option(Q750_COVERAGE "Build the fuzz targets to count which lines their corpora reach, not to fuzz; clang only" OFF)
if((Q750_FUZZ OR Q750_COVERAGE) AND NOT CMAKE_CXX_COMPILER_ID STREQUAL Clang)
  message(FATAL_ERROR "Fuzzing takes clang: use the preset fuzz (tools/setup --with-fuzz installs it).")
endif()
if(Q750_COVERAGE)  # fuzz/CMakeLists.txt chooses the sources that are counted
  add_link_options(-fprofile-instr-generate)
elseif(Q750_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
