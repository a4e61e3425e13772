# Protects optimised builds against memory errors, as distributions do: stack protection, checked calls of the C
# library, address tables that are read-only before main(), and randomised addresses. Has no effect on Debug builds and
# on those for sanitizers and fuzzers, which find more. See tests/hardening.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

option(Q750_HARDENING "Compile and link optimised builds with the hardening that distributions use" ON)
set(q750_hardened $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
if(Q750_SANITIZE OR Q750_FUZZ OR NOT Q750_HARDENING)
  return()
endif()

# Flags that are not available on every machine or compiler.
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "Q750_HAS${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options($<${q750_hardened}:${flag}>)
  endif()
endforeach()

# A level set by the environment (as by dpkg-buildflags) is kept. One that the compiler predefines is undefined first:
# redefining it with another value causes a warning.
if(NOT "${CMAKE_C_FLAGS} ${CMAKE_CXX_FLAGS}" MATCHES "_FORTIFY_SOURCE")
  add_compile_options($<${q750_hardened}:-U_FORTIFY_SOURCE> $<${q750_hardened}:-D_FORTIFY_SOURCE=2>)
endif()

foreach(flag IN ITEMS -Wl,-z,relro -Wl,-z,now)
  string(MAKE_C_IDENTIFIER "Q750_HAS${flag}" known)
  check_linker_flag(CXX ${flag} ${known})
  if(${known})
    add_link_options($<${q750_hardened}:${flag}>)
  endif()
endforeach()
# Programs of tests are compiled without position-independent code: see q750_compile_for_tests().
set(q750_is_program $<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>)
set(q750_is_position_independent $<BOOL:$<TARGET_PROPERTY:POSITION_INDEPENDENT_CODE>>)
add_link_options($<$<AND:${q750_hardened},${q750_is_program},${q750_is_position_independent}>:-pie>)
