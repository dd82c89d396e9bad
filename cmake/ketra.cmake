# ketra_test(NAME SOURCES a_test.cpp ... LIBS lib ...)
# One GoogleTest executable per library; every case becomes a CTest test. In the Windows cross
# build each executable is one CTest test run under Wine (CMAKE_CROSSCOMPILING_EMULATOR): a Wine
# start per case would cost more than the cases, and GoogleTest still names each failing one.
function(ketra_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gtest_main)
  if(CMAKE_CROSSCOMPILING)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300 FIXTURES_REQUIRED wine_prefix)
  else()
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
  endif()
endfunction()

# ketra_benchmark(NAME SOURCES a_bench.cpp ... LIBS lib ...)
function(ketra_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark benchmark::benchmark_main)
endfunction()
