# Tools and compiler flags, the latter as interface libraries: tvq_host_warnings for all code of ours, tvq_fuzzed for what
# fuzzers watch of it, tvq_edk2_flags for everything that includes EDK II headers, tvq_image_flags for all code of images,
# tvq_edk2_code for EDK II's own files.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_program(TVQ_OBJCOPY objcopy REQUIRED)
find_program(TVQ_LD NAMES ld.bfd ld REQUIRED)
find_program(TVQ_NM nm REQUIRED)
find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)

# Frame pointers: the pool finds out by them who allocated a block. Debug information: it names those functions, and is
# found by the address ranges, which GCC writes unasked.
add_compile_options(-fno-omit-frame-pointer -mno-omit-leaf-frame-pointer -g)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-gdwarf-aranges)
endif()

if(TVQ_SANITIZE)
  # ms_abi calls and code without RTTI are beyond the checks of function and vptr types.
  set(_sanitizers -fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=all)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    list(APPEND _sanitizers -fno-sanitize=function)
  endif()
  add_compile_options(${_sanitizers})
  add_link_options(${_sanitizers})
endif()

# What is compiled once to be tested, and runs for milliseconds: optimising it, or describing its variables to a debugger,
# takes longer than all its runs. Fuzzers run for hours, and are optimised.
set(TVQ_TESTED OFF)
if((TVQ_SANITIZE OR TVQ_MUTATION) AND NOT TVQ_FUZZER)
  set(TVQ_TESTED ON)
  add_compile_options(-g1)
  add_link_options(-fuse-ld=lld)
endif()
# What Debian asks of programs, for code that runs on Linux. Code of images is firmware's, which has no C library to check for
# it.
add_library(tvq_hardened INTERFACE)
set(TVQ_SHIPPED ON)
if(TVQ_SANITIZE OR TVQ_MUTATION OR TVQ_COVERAGE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(TVQ_SHIPPED OFF)
endif()
if(TVQ_SHIPPED)
  target_compile_options(tvq_hardened INTERFACE -fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE
                                                -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS -Wformat -Werror=format-security)
  target_link_options(tvq_hardened INTERFACE -Wl,-z,relro,-z,now)
  # Equal sources give equal programs, wherever they lie: of several maps the last one that fits counts.
  foreach(map "${PROJECT_SOURCE_DIR}=." "${PROJECT_BINARY_DIR}=build" "${EDK2_DIR}=edk2" "${EXPAT_DIR}=expat")
    add_compile_options("-ffile-prefix-map=${map}")
  endforeach()
  # Nothing that is not called is in a program.
  target_compile_options(tvq_hardened INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(tvq_hardened INTERFACE -Wl,--gc-sections)
endif()

# tvq_host_code(): for the targets of this folder, which are programs of Linux.
macro(tvq_host_code)
  link_libraries(tvq_hardened)
  if(TVQ_TESTED)
    add_compile_options(-O0)
  endif()
endmacro()
if(TVQ_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    message(FATAL_ERROR "TVQ_COVERAGE wants GCC")
  endif()
  # The images' own sources alone are counted; data sections tell the counters from an image's own data in image.lds.
  add_library(tvq_counted INTERFACE)
  # The checks of sanitizers would count as branches, and so would every inlined copy of one.
  target_compile_options(tvq_counted INTERFACE --coverage -fprofile-update=single -fdata-sections -fno-sanitize=all -O1 -fno-inline)
  add_link_options(--coverage)
endif()

# Clang's -Wconversion also means -Wsign-conversion, which objects to every iterator that an index is added to.
add_library(tvq_host_warnings INTERFACE)
if(TVQ_MUTATION)
  # The changes have every warning.
  target_compile_options(tvq_host_warnings INTERFACE -w -Wno-narrowing)
else()
  target_compile_options(tvq_host_warnings INTERFACE -Wall -Wextra -Wconversion -Wno-sign-conversion -Werror)
endif()

# What fuzzers watch: the code that reads input, and not what it stands on, which would take most of their time.
add_library(tvq_fuzzed INTERFACE)
if(TVQ_FUZZER)
  target_compile_options(tvq_fuzzed INTERFACE -fsanitize=fuzzer-no-link)
endif()

# EFIAPI is the Microsoft calling convention on X64, in a Linux process too. USING_LTO keeps the X64 headers from hiding
# every later declaration.
add_library(tvq_edk2_flags INTERFACE)
target_compile_definitions(tvq_edk2_flags INTERFACE "EFIAPI=__attribute__((ms_abi))" USING_LTO)
target_compile_options(tvq_edk2_flags INTERFACE -fshort-wchar -fno-strict-aliasing)

# What firmware code is compiled with. None of it may rely on a C library; the C++ part has no exceptions, RTTI or
# guarded statics. It is always optimised: GCC 12 expands __builtin_ms_va_copy (VA_COPY) wrongly without. A tail call
# would hide a function from the call sites of blocks.
add_library(tvq_image_flags INTERFACE)
target_link_libraries(tvq_image_flags INTERFACE tvq_edk2_flags)
target_compile_options(
  tvq_image_flags
  INTERFACE -ffreestanding
            -fno-builtin
            -fno-common
            -fno-stack-protector
            -fno-lto
            -fno-optimize-sibling-calls
            $<$<CONFIG:Debug>:-O1>
            $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions>
            $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
            $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)

# EDK II's own files: their warnings are not ours to fix, and MdePkg accesses unaligned words on purpose.
# Its PrintLib also shifts the sign of characters above 7Fh, and negates the lowest number.
add_library(tvq_edk2_code INTERFACE)
target_compile_options(tvq_edk2_code INTERFACE -w -fwrapv $<$<BOOL:${TVQ_SANITIZE}>:-fno-sanitize=alignment,shift>)
