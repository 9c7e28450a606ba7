# vellix_add_standin(NAME <target> LIBS <libs...>): a stand-in library from the
# .cpp files of the calling folder, linked into vellix_standins.
function(vellix_add_standin)
  cmake_parse_arguments(ARG "" "NAME" "LIBS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(${ARG_NAME} STATIC ${sources})
  target_link_libraries(${ARG_NAME} PUBLIC vellix_control ${ARG_LIBS})
  target_link_libraries(vellix_standins INTERFACE ${ARG_NAME})
endfunction()

# Seconds a test may take; a sanitizer's build, many times slower, sets more.
set(VELLIX_TEST_TIMEOUT 300 CACHE STRING "Seconds each test may run")

# vellix_add_test_suite(NAME <target> LIBS <libs...>): a GoogleTest executable
# from the .cpp files below the calling folder, registered with CTest.
function(vellix_add_test_suite)
  cmake_parse_arguments(ARG "" "NAME" "LIBS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${ARG_NAME} ${sources})
  target_include_directories(${ARG_NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${ARG_NAME} PRIVATE vellix_test_support ${ARG_LIBS} GTest::gmock
                                            GTest::gtest_main)
  target_compile_definitions(${ARG_NAME} PRIVATE VELLIX_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  # Each test is labelled with its suite, so that a preset can pick suites.
  gtest_discover_tests(${ARG_NAME} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${VELLIX_TEST_TIMEOUT}
                                   LABELS ${ARG_NAME})
endfunction()
