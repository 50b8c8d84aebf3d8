# Compile settings shared by every target of the project.
function(feedwalk_target_defaults target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()

# feedwalk_add_test(<name> SOURCES <files...> LIBS <libs...>)
# One GoogleTest executable, registered with CTest test by test.
function(feedwalk_add_test name)
  cmake_parse_arguments(T "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  feedwalk_target_defaults(${name})
  target_link_libraries(${name} PRIVATE ${T_LIBS} GTest::gtest GTest::gtest_main)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "FEEDWALK_BIN=${CMAKE_BINARY_DIR}/bin;FEEDWALK_SOURCE=${CMAKE_SOURCE_DIR}")
endfunction()

# feedwalk_add_bench(<name> SOURCES <files...> LIBS <libs...>)
function(feedwalk_add_bench name)
  cmake_parse_arguments(B "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${B_SOURCES})
  feedwalk_target_defaults(${name})
  target_link_libraries(${name} PRIVATE ${B_LIBS} benchmark::benchmark)
endfunction()
