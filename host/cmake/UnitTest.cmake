# tvq_unit_test(<name> SOURCES <file>... [IMAGES <image>...] [LIBRARIES <library>...])
#
# Makes a GoogleTest program on the firmware library and registers its tests. A test of an image that does not exist in
# this tree yet is left out, with a message.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

include(GoogleTest)
find_package(GTest)

if(GTest_FOUND)
  set(_main host/firmware/gtest_main.cpp)
  if(TVQ_MUTATION)
    set(_main tests/mutation/main.cpp)
  endif()
  add_library(tvq_test_main STATIC "${PROJECT_SOURCE_DIR}/${_main}")
  target_link_libraries(tvq_test_main PUBLIC tvq_firmware GTest::gmock GTest::gtest PRIVATE tvq_host_warnings)
  # The code of the tests alone: with the sanitizers, optimising it takes three times as long as compiling it.
  target_compile_options(tvq_test_main INTERFACE -O0)
endif()

# What runs the driver, for those who count or change its code: builds these programs, and lists them in a file.
add_custom_target(tvq_driver_tests)
file(GENERATE OUTPUT "${PROJECT_BINARY_DIR}/driver_tests.txt"
     CONTENT "$<JOIN:$<TARGET_GENEX_EVAL:tvq_driver_tests,$<TARGET_PROPERTY:tvq_driver_tests,TVQ_PROGRAMS>>,\n>\n")

function(tvq_unit_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;IMAGES;LIBRARIES")
  if(DEFINED arg_UNPARSED_ARGUMENTS OR NOT arg_SOURCES)
    message(FATAL_ERROR "tvq_unit_test(${name}): SOURCES is missing, or unknown arguments '${arg_UNPARSED_ARGUMENTS}'")
  endif()
  if(NOT GTest_FOUND)
    return()
  endif()
  set(images)
  foreach(image IN LISTS arg_IMAGES)
    if(NOT TARGET tvq_image_${image})
      message(STATUS "${name} is left out: there is no image '${image}'")
      return()
    endif()
    list(APPEND images tvq_image_${image})
  endforeach()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${images} ${arg_LIBRARIES} tvq_test_main tvq_host_warnings)
  if("driver" IN_LIST arg_IMAGES)
    add_dependencies(tvq_driver_tests ${name})
    set_property(TARGET tvq_driver_tests APPEND PROPERTY TVQ_PROGRAMS "$<TARGET_FILE:${name}>")
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
