# One folder, one target: a room sees only the rooms that it names, so that the layers hold by construction.

# Compiles every header of a folder alone, first in a source of its own.
function(q750_compile_headers_alone target)
  # Where the everyday build has said it.
  if(Q750_SANITIZE OR CMAKE_CROSSCOMPILING OR NOT Q750_TESTS)
    return()
  endif()
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  set(sources "")
  foreach(header IN LISTS headers)
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

# q750_room(<target> [<room or library that it may use> ...]): a static library of all sources in this folder.
function(q750_room target)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(sources)
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${target} PUBLIC ${ARGN})
    # Inline members are no exports: whether the compiler emits them depends on the kind of build.
    set_target_properties(${target} PROPERTIES VISIBILITY_INLINES_HIDDEN ON)
  else()
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${target} INTERFACE ${ARGN})
  endif()
  q750_compile_headers_alone(${target})
endfunction()

# What every test runs under: sanitizer findings are fatal and told with a stack; leaks that are part of the
# design are listed with their reasons in lsan.supp.
function(q750_test_environment test)
  set_tests_properties(${test} PROPERTIES ENVIRONMENT
    "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()

# q750_uses_fixed_files(<suite>): what it runs writes the files of fixed name below /tmp, which is no place for two.
function(q750_uses_fixed_files suite)
  set_tests_properties(${suite} PROPERTIES RESOURCE_LOCK q750-fixed-files)
endfunction()

# q750_suite(<name> [<room> ...]): one test program of all sources in this folder, registered under its name.
function(q750_suite name)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name}-tests ${sources})
  target_link_libraries(${name}-tests PRIVATE ${ARGN} q750-test-support GTest::gmock GTest::gtest GTest::gtest_main)
  if(Q750_SANITIZE OR CMAKE_CROSSCOMPILING)  # optimising takes twice as long as compiling and running them
    target_compile_options(${name}-tests PRIVATE -O0)
  endif()
  add_test(NAME ${name} COMMAND ${name}-tests)
  q750_test_environment(${name})
endfunction()
