# Every cut and every changed byte of the samples.
#
# The driver runs more than a hundred thousand times here, so it has to be optimised and free of the sanitizers: pages
# that are inaccessible stand in for them. A build with the sanitizers takes the program from the build in
# TVQ_LONG_TESTS, and runs it in parts.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

if(NOT GTest_FOUND)
  return()
endif()

set(TVQ_LONG_TESTS "" CACHE PATH "A build of this tree without sanitizers, whose target tvq_long_tests was made")

if(NOT TVQ_SANITIZE)
  add_executable(tvq_bounds_tests sample_bounds_test.cpp samples.cpp)
  target_compile_definitions(tvq_bounds_tests PRIVATE "TVQ_SAMPLES=\"${PROJECT_SOURCE_DIR}/samples\"")
  target_link_libraries(tvq_bounds_tests PRIVATE tvq_exercise tvq_table tvq_test_shared tvq_host_warnings)
  set_target_properties(tvq_bounds_tests PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
  add_custom_target(tvq_long_tests DEPENDS tvq_bounds_tests)
  set(_program "$<TARGET_FILE:tvq_bounds_tests>")
elseif(TVQ_LONG_TESTS)
  set(_program "${TVQ_LONG_TESTS}/tests/tvq_bounds_tests")
else()
  message(STATUS "The tests of table bounds are left out: TVQ_LONG_TESTS names no build to take them from")
  return()
endif()

foreach(sample two-socket hbm-only hbm-mixed)
  foreach(end AtItsEnd AtItsBeginning)
    string(REPLACE "-" "_" name "${sample}")
    tvq_program_test("bounds.${sample}.${end}" PROGRAM "${_program}" ONLY "/${name}${end}$" PARTS 3 SECONDS 1500)
  endforeach()
endforeach()
