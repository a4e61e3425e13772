# One folder, one target: a room can include only the rooms that it names, so the build enforces the layers.

# Sets <result> to whether the source of this header includes it before anything else.
function(q750_source_begins_with header result)
  string(REGEX REPLACE "h$" "cpp" source ${header})
  get_filename_component(name ${header} NAME)
  set(first "")
  if(EXISTS ${source})
    file(STRINGS ${source} first REGEX "^#include" LIMIT_COUNT 1)
  endif()
  if(first MATCHES "[\"<]${name}[\">]")
    set(${result} TRUE PARENT_SCOPE)
  else()
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

# Every header has to compile alone. This is checked by a source that begins with its header; every other header of the
# folder is compiled in a generated source.
function(q750_compile_headers_alone target)
  # Once is enough: in the everyday build.
  if(Q750_SANITIZE OR CMAKE_UNITY_BUILD OR CMAKE_CROSSCOMPILING OR NOT Q750_TESTS)
    return()
  endif()
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  set(sources "")
  foreach(header IN LISTS headers)
    q750_source_begins_with(${header} seen)
    if(seen)
      continue()
    endif()
    get_filename_component(name ${header} NAME)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/alone/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${name}\"\n")
    list(APPEND sources ${source})
  endforeach()
  if(sources)
    add_library(${target}-headers OBJECT ${sources})
    target_link_libraries(${target}-headers PRIVATE ${target})
  endif()
endfunction()

# q750_room(<target> [NOT_IN_LIBRARY] [PUBLIC <room>...] [PRIVATE <room>...] [LIBRARIES <library>...] [SEPARATE
# <source>...]): a static library of all sources in this folder. PUBLIC names the rooms whose headers its headers
# include, PRIVATE those that only its sources include: together they are all that it may include, the one list of
# layers that tools/layer-check reads. LIBRARIES are third-party ones, which only its sources use. SEPARATE names the
# sources that declare something which another source of the room declares as well, or which a test program replaces: no
# build compiles them together with others. A room of Sources/ or platform/ is also part of every plug-in library,
# unless it is NOT_IN_LIBRARY.
function(q750_room target)
  cmake_parse_arguments(room "NOT_IN_LIBRARY" "" "PUBLIC;PRIVATE;LIBRARIES;SEPARATE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC ${room_PUBLIC} PRIVATE ${room_PRIVATE} ${room_LIBRARIES})
    set_source_files_properties(${room_SEPARATE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    # Inline members are not exported: whether the compiler emits them depends on the optimisation level.
    set_target_properties(${target} PROPERTIES VISIBILITY_INLINES_HIDDEN ON)
    if(NOT room_NOT_IN_LIBRARY AND CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/(Sources|platform)/")
      set_property(GLOBAL APPEND PROPERTY Q750_LIBRARY_ROOMS ${target})
    endif()
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${target} INTERFACE ${room_PUBLIC})
  endif()
  q750_compile_headers_alone(${target})
endfunction()

# The environment of every test: sanitizer findings print a stack, and the leaks that are part of the design are listed,
# with their reasons, in lsan.supp. Races are reported to files in a folder, also by workers; the test thread-reports
# checks the folder at the end.
set(q750_thread_reports ${PROJECT_BINARY_DIR}/thread-reports)
function(q750_test_environment test)
  if(Q750_SANITIZE AND Q750_SANITIZERS STREQUAL thread)
    set_tests_properties(${test} PROPERTIES FIXTURES_REQUIRED thread-reports ENVIRONMENT
      "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp:log_path=${q750_thread_reports}/report")
    return()
  endif()
  set_tests_properties(${test} PROPERTIES ENVIRONMENT
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()

# Tests of what users get: the shared libraries, the command line, the installation. `release-tests` builds everything
# they need, and `ctest -L release` runs them.
if(Q750_TESTS)
  add_custom_target(release-tests)
endif()

# q750_release_test(<test> [<target>...]): adds a test and the targets that it runs.
function(q750_release_test test)
  set_tests_properties(${test} PROPERTIES LABELS release)
  add_dependencies(release-tests ${ARGN} quenvar-q750 sane-quenvar q750 q750-worker)
endfunction()

# The library writes two files of fixed name below /tmp. These tests run it, and do not depend on their contents.
set(q750_file_writers
  driver endtoend-usbfs endtoend-usbfs-2 install-examples install-host plugin-usbfs worker)

# q750_writes_fixed_files(<test>): one of them.
function(q750_writes_fixed_files test)
  if(NOT test IN_LIST q750_file_writers)
    message(FATAL_ERROR "Add ${test} to q750_file_writers in cmake/Rooms.cmake.")
  endif()
  set_tests_properties(${test} PROPERTIES RESOURCE_LOCK q750-files-of-${test})
endfunction()

# q750_reads_fixed_files(<test>): reads the files, so it runs while no test writes them.
function(q750_reads_fixed_files test)
  list(TRANSFORM q750_file_writers PREPEND q750-files-of- OUTPUT_VARIABLE locks)
  set_tests_properties(${test} PROPERTIES RESOURCE_LOCK "${locks}")
endfunction()

# Compiler options of everything that only tests need. The precompiled headers are compiled with the same
# ones.
function(q750_test_options target)
  # In all build types: optimising a test takes longer than running it. -g1 is enough for stacks with line numbers.
  # Checked calls of the C library need optimisation.
  target_compile_options(${target} PRIVATE -O0 -g1 -U_FORTIFY_SOURCE ${Q750_UNITY_OPTIONS})
  if(Q750_SANITIZE)  # these two cost a third of the compile time of tests; the tested code keeps them
    target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment)
  endif()
endfunction()

# The headers that dominate the compile time of a test, compiled once for all of them.
function(q750_precompile_test_headers)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/precompiled.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "int main() {}\n")
  add_executable(test-headers ${source})
  target_link_libraries(test-headers PRIVATE GTest::gmock GTest::gtest)
  target_precompile_headers(test-headers PRIVATE <gmock/gmock.h> <filesystem> <thread>)
  q750_test_options(test-headers)
  set_target_properties(test-headers PROPERTIES POSITION_INDEPENDENT_CODE OFF UNITY_BUILD OFF)
endfunction()

# q750_compile_for_tests(<target> [<source>...]): a program of tests, or a library that only such programs link. Its
# sources are compiled ten at a time (unless Q750_UNITY_TESTS is off), which takes a third of the time. They then share
# one scope: two that declare the same name in an anonymous namespace do not compile together ("redefinition of
# {anonymous}::..."). Rename one, or name one here to compile it separately.
function(q750_compile_for_tests target)
  q750_test_options(${target})
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE OFF  # the compiler's default for programs
    UNITY_BUILD ${Q750_UNITY_TESTS} UNITY_BUILD_BATCH_SIZE 10)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  target_link_libraries(${target} PRIVATE GTest::gmock GTest::gtest)  # as the precompiled headers take it
  target_precompile_headers(${target} REUSE_FROM test-headers)
endfunction()

# q750_suite(<name> [<room>...] [SEPARATE <source>...]): one test program of all sources in this folder,
# registered under its name. SEPARATE names the sources that do not compile together with the others.
function(q750_suite name)
  cmake_parse_arguments(suite "" "" "SEPARATE" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    message(FATAL_ERROR "${CMAKE_CURRENT_SOURCE_DIR} contains no test.")
  endif()
  add_executable(${name}-tests ${sources})
  target_link_libraries(${name}-tests PRIVATE
    ${suite_UNPARSED_ARGUMENTS} q750-test-support GTest::gmock GTest::gtest GTest::gtest_main)
  q750_compile_for_tests(${name}-tests ${suite_SEPARATE})
  add_test(NAME ${name} COMMAND ${name}-tests)
  q750_test_environment(${name})
endfunction()
