# tvq_unit_test(<name> SOURCES <file>... [IMAGES <image>...] [LIBRARIES <library>...] [PARTS <number>])
#
# Makes a GoogleTest program on the firmware library and registers it as one test of ctest: a process for each of two
# thousand tests would take longer than they do. PARTS makes several of it, where a program runs for long. A test of an
# image that does not exist in this tree yet is left out, with a message.
#
# tvq_program_test(<name> PROGRAM <file> [PARTS <number>] [ONLY <regular expression>] [SECONDS <number>])
#
# Registers the tests of a GoogleTest program, or those that match, under this name. SECONDS is what one of them may take.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

find_package(GTest)

option(TVQ_BATCHED_TESTS "Compile several files of a test program at a time, which takes half as long" ON)

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

# All unit tests, and those that run the driver: each of these targets builds its programs, and a file lists them with the
# images and libraries of ours in them.
foreach(list unit_tests driver_tests)
  add_custom_target(tvq_${list})
  file(GENERATE OUTPUT "${PROJECT_BINARY_DIR}/${list}.txt"
       CONTENT "$<JOIN:$<TARGET_GENEX_EVAL:tvq_${list},$<TARGET_PROPERTY:tvq_${list},TVQ_PROGRAMS>>,\n>\n")
endforeach()

function(tvq_program_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PROGRAM;PARTS;ONLY;SECONDS" "")
  if(NOT arg_PARTS)
    set(arg_PARTS 1)
  endif()
  if(NOT arg_SECONDS)
    set(arg_SECONDS 120)
  endif()
  foreach(part RANGE 1 ${arg_PARTS})
    set(test "${name}")
    if(arg_PARTS GREATER 1)
      set(test "${name}.${part}")
    endif()
    add_test(NAME "${test}" COMMAND "${Python3_EXECUTABLE}" -B "${PROJECT_SOURCE_DIR}/tools/testrun/gtest_program.py"
                                    --results "${PROJECT_BINARY_DIR}/Testing/programs/${test}.json" --only "${arg_ONLY}"
                                    --shard "${part}/${arg_PARTS}" --seconds ${arg_SECONDS} "${arg_PROGRAM}")
    # A test that hangs is ended by the script.
    set_tests_properties("${test}" PROPERTIES LABELS program TIMEOUT 1800)
  endforeach()
endfunction()

function(tvq_unit_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PARTS" "SOURCES;IMAGES;LIBRARIES")
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
  set_target_properties(
    ${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests" UNITY_BUILD ${TVQ_BATCHED_TESTS}
                       UNITY_BUILD_BATCH_SIZE 6)
  target_link_libraries(${name} PRIVATE ${images} ${arg_LIBRARIES} tvq_test_main tvq_host_warnings)
  string(JOIN " " program "$<TARGET_FILE:${name}>" ${arg_IMAGES} ${arg_LIBRARIES})
  set(lists unit_tests)
  if("driver" IN_LIST arg_IMAGES)
    list(APPEND lists driver_tests)
  endif()
  foreach(list IN LISTS lists)
    add_dependencies(tvq_${list} ${name})
    set_property(TARGET tvq_${list} APPEND PROPERTY TVQ_PROGRAMS "${program}")
  endforeach()
  tvq_program_test(${name} PROGRAM "$<TARGET_FILE:${name}>" PARTS "${arg_PARTS}")

  set(sources)
  foreach(source IN LISTS arg_SOURCES)
    cmake_path(ABSOLUTE_PATH source NORMALIZE)
    cmake_path(RELATIVE_PATH source BASE_DIRECTORY "${PROJECT_SOURCE_DIR}")
    list(APPEND sources "\"${source}\"")
  endforeach()
  list(JOIN sources ", " sources)
  set_property(GLOBAL APPEND PROPERTY TVQ_UNIT_TESTS "\"${name}\": [${sources}]")
endfunction()

# Writes down which sources each program of tests has, for `./dev test --changed`.
function(tvq_list_unit_tests)
  get_property(programs GLOBAL PROPERTY TVQ_UNIT_TESTS)
  list(JOIN programs ",\n " programs)
  file(WRITE "${PROJECT_BINARY_DIR}/test_programs.json" "{${programs}}\n")
endfunction()
