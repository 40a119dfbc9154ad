# tvq_efi_image(<name> INFS <inf>... [LIBRARIES <inf>...] [SOURCES <file>...] [INCLUDES <folder>...]
#               [EDK2_SOURCES <file>...] [EDK2_INCLUDES <folder>...] [REFERENCE_INFS <inf>...] [PCDS <name>=<value>...])
#
# Makes a firmware image that runs in a process, as target tvq_image_<name> with `tvq::host::images::<name>` in
# "images/<name>.h". The first INF is the module's; the others are libraries of ours that it uses, in the order of their
# constructors. Sources, GUIDs, PCDs and entry points are read from them. Like an .efi file the image has its own copies
# of the EDK II libraries, which are compiled once for all images, and of every global; only the functions and globals of
# its own sources keep their names, so that tests can call them.
#
#   LIBRARIES       libraries of ours that several images use, and perhaps the program around them: an image's copy of one
#                   is its own to the last function
#   SOURCES         further sources of ours that no INF lists
#   INCLUDES        include folders of foreign code that our sources compile, as -isystem in a DSC's options
#   EDK2_SOURCES    sources in the EDK II tree, relative to it
#   EDK2_INCLUDES   further include folders in the EDK II tree
#   REFERENCE_INFS  INFs in the EDK II tree of which only the GUIDs and PCDs are wanted
#   PCDS            values other than the declared defaults; `<name>=runtime` makes a variable for Firmware::SetPcd
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

set(TVQ_CMAKE_DIR "${CMAKE_CURRENT_LIST_DIR}")

# In the order of their constructors.
set(_tvq_edk2_libraries
    MdePkg/Library/BaseLib/BaseLib.inf
    MdePkg/Library/RegisterFilterLibNull/RegisterFilterLibNull.inf
    MdePkg/Library/BaseMemoryLib/BaseMemoryLib.inf
    MdePkg/Library/BasePerformanceLibNull/BasePerformanceLibNull.inf
    MdePkg/Library/BasePrintLib/BasePrintLib.inf
    MdePkg/Library/UefiBootServicesTableLib/UefiBootServicesTableLib.inf
    MdePkg/Library/UefiRuntimeServicesTableLib/UefiRuntimeServicesTableLib.inf
    MdePkg/Library/UefiDevicePathLib/UefiDevicePathLib.inf
    MdePkg/Library/UefiLib/UefiLib.inf)
set(_tvq_edk2_libraries_DXE_CORE
    MdePkg/Library/BaseOrderedCollectionRedBlackTreeLib/BaseOrderedCollectionRedBlackTreeLib.inf
    MdeModulePkg/Library/DxeCoreMemoryAllocationLib/DxeCoreMemoryAllocationLib.inf)
set(_tvq_edk2_libraries_UEFI_APPLICATION
    MdePkg/Library/UefiMemoryAllocationLib/UefiMemoryAllocationLib.inf
    MdePkg/Library/UefiApplicationEntryPoint/UefiApplicationEntryPoint.inf)
set(_tvq_edk2_libraries_DRIVER
    MdePkg/Library/UefiMemoryAllocationLib/UefiMemoryAllocationLib.inf
    MdePkg/Library/UefiDriverEntryPoint/UefiDriverEntryPoint.inf)

# The EDK II libraries that a module of this INF links with.
function(_tvq_edk2_libraries_of inf result)
  file(STRINGS "${inf}" type REGEX "^[ \t]*MODULE_TYPE[ \t]*=")
  string(REGEX REPLACE "^.*=[ \t]*([A-Z_]+).*$" "\\1" type "${type}")
  if(NOT type STREQUAL "DXE_CORE" AND NOT type STREQUAL "UEFI_APPLICATION")
    set(type DRIVER)
  endif()
  set(${result} ${_tvq_edk2_libraries} ${_tvq_edk2_libraries_${type}} PARENT_SCOPE)
endfunction()

# Turns a list into `<option> <item> <option> <item> ...`.
function(_tvq_option_list option result)
  set(list)
  foreach(item IN LISTS ARGN)
    list(APPEND list ${option} "${item}")
  endforeach()
  set(${result} ${list} PARENT_SCOPE)
endfunction()

# Runs edk2_autogen.py while configuring, and again when the script or a file it read has changed.
function(_tvq_run_autogen)
  execute_process(COMMAND "${Python3_EXECUTABLE}" -B "${TVQ_CMAKE_DIR}/edk2_autogen.py" --root "${PROJECT_SOURCE_DIR}"
                          --root "${EDK2_DIR}" ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${TVQ_CMAKE_DIR}/edk2_autogen.py"
                                         "${TVQ_CMAKE_DIR}/edk2_meta.py")
endfunction()

# An EDK II library, as target tvq_edk2_<name>.
function(_tvq_edk2_library name)
  set(target tvq_edk2_${name})
  if(TARGET ${target})
    return()
  endif()
  set(autogen "${PROJECT_BINARY_DIR}/edk2/${name}")
  include("${autogen}/sources.cmake")
  add_library(${target} STATIC ${LIBRARY_SOURCES})
  target_compile_options(${target} PRIVATE -include "${autogen}/AutoGen.h")
  target_include_directories(${target} PRIVATE "${autogen}" ${LIBRARY_FOLDERS})
  target_include_directories(${target} SYSTEM PRIVATE ${LIBRARY_INCLUDES})
  target_link_libraries(${target} PRIVATE tvq_image_flags tvq_edk2_code)
endfunction()

# Compiles one part of an image; `part` is a target with the image's sources.
function(_tvq_image_part part name autogen)
  target_compile_options(${part} PRIVATE -include "${autogen}/AutoGen.h")
  target_compile_definitions(${part} PRIVATE "TVQ_IMAGE_NAME=\"${name}\"")
  target_include_directories(${part} PRIVATE "${autogen}" "${PROJECT_SOURCE_DIR}")
  target_include_directories(${part} SYSTEM PRIVATE ${IMAGE_INCLUDES})
  target_link_libraries(${part} PRIVATE tvq_image_flags)
endfunction()

# Joins the parts of target `part` to one object whose symbols and writable data are its own. Functions of the sources in the targets
# `exporters` keep their names; of the targets `archives` comes what is needed.
function(_tvq_join_image name part autogen archives exporters)
  configure_file("${TVQ_CMAKE_DIR}/image.lds.in" "${autogen}/image.lds" @ONLY)
  set(own "$<TARGET_OBJECTS:${part}_own>" "$<TARGET_OBJECTS:${part}_glue>")
  if(TARGET ${part}_libraries)
    list(APPEND own "$<TARGET_OBJECTS:${part}_libraries>")
  endif()
  list(TRANSFORM archives REPLACE "(.+)" "$<TARGET_FILE:\\1>" OUTPUT_VARIABLE files)
  set(exported)
  foreach(target IN LISTS exporters)
    list(APPEND exported "$<TARGET_OBJECTS:${target}>")
  endforeach()
  add_custom_command(
    OUTPUT "${autogen}/${name}.o"
    COMMAND "${TVQ_LD}" -r --force-group-allocation -T "${autogen}/image.lds" -o "${autogen}/joined.o" ${own}
            --start-group ${files} --end-group
    COMMAND "${Python3_EXECUTABLE}" -B "${TVQ_CMAKE_DIR}/image_symbols.py" "${TVQ_NM}" ${name} "${autogen}/joined.o"
            "${autogen}/symbols.txt" ${exported}
    COMMAND "${TVQ_OBJCOPY}" "--redefine-syms=${autogen}/symbols.txt" "${autogen}/joined.o" "${autogen}/${name}.o"
    DEPENDS ${own} ${archives} "${autogen}/image.lds" "${TVQ_CMAKE_DIR}/image_symbols.py"
    COMMAND_EXPAND_LISTS VERBATIM
    COMMENT "Joining image ${name}")
endfunction()

# tvq_efi_object(<name> [PRIVATE] [VARIANT <word>] [EDK2_OPTIONS <option>...] ...): makes <build>/images/<name>/<name>.o, or that
# of a variant in <build>/images/<name>_<word>, with the arguments of tvq_efi_image and compiler options for the sources in the
# EDK II tree.
function(tvq_efi_object name)
  set(lists INFS LIBRARIES SOURCES INCLUDES EDK2_SOURCES EDK2_INCLUDES REFERENCE_INFS PCDS EDK2_OPTIONS)
  cmake_parse_arguments(PARSE_ARGV 1 arg "PRIVATE" "VARIANT" "${lists}")
  if(DEFINED arg_UNPARSED_ARGUMENTS OR NOT arg_INFS)
    message(FATAL_ERROR "image ${name}: INFS is missing, or unknown arguments '${arg_UNPARSED_ARGUMENTS}'")
  endif()
  set(part tvq_image_${name})
  set(autogen "${PROJECT_BINARY_DIR}/images/${name}")
  if(arg_VARIANT)
    string(APPEND part _${arg_VARIANT})
    string(APPEND autogen _${arg_VARIANT})
  endif()
  list(TRANSFORM arg_EDK2_SOURCES PREPEND "${EDK2_DIR}/")
  list(TRANSFORM arg_EDK2_INCLUDES PREPEND "${EDK2_DIR}/")
  set(own_infs)
  foreach(inf IN LISTS arg_INFS)
    cmake_path(ABSOLUTE_PATH inf NORMALIZE)
    list(APPEND own_infs "${inf}")
  endforeach()
  list(GET own_infs 0 module)
  set(library_infs)
  foreach(inf IN LISTS arg_LIBRARIES)
    cmake_path(ABSOLUTE_PATH inf NORMALIZE)
    list(APPEND library_infs "${inf}")
  endforeach()
  _tvq_edk2_libraries_of("${module}" libraries)
  _tvq_option_list(--inf infs ${own_infs})
  _tvq_option_list(--library-inf own_libraries ${library_infs})
  _tvq_option_list(--edk2-library libraries ${libraries})
  _tvq_option_list(--reference-inf references ${arg_REFERENCE_INFS})
  _tvq_option_list(--pcd pcds ${arg_PCDS})
  _tvq_run_autogen(--out "${autogen}" --libraries "${PROJECT_BINARY_DIR}/edk2" --name ${name} ${infs} ${own_libraries}
                   ${libraries} ${references} ${pcds})
  include("${autogen}/sources.cmake")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${IMAGE_DEPENDS})

  add_library(${part}_own OBJECT ${IMAGE_OWN_SOURCES} ${arg_SOURCES})
  add_library(${part}_glue OBJECT "${autogen}/AutoGen.c" "${PROJECT_SOURCE_DIR}/host/firmware/image/DebugLib.c")
  set(ours ${part}_own)
  if(IMAGE_LIBRARY_SOURCES)
    add_library(${part}_libraries OBJECT ${IMAGE_LIBRARY_SOURCES})
    list(APPEND ours ${part}_libraries)
  endif()
  set(parts ${ours} ${part}_glue)
  set(archives)
  foreach(library IN LISTS IMAGE_EDK2_LIBRARIES)
    _tvq_edk2_library(${library})
    list(APPEND archives tvq_edk2_${library})
  endforeach()
  if(arg_EDK2_SOURCES)
    add_library(${part}_edk2 STATIC ${arg_EDK2_SOURCES})
    list(APPEND parts ${part}_edk2)
    list(APPEND archives ${part}_edk2)
  endif()
  foreach(target IN LISTS parts)
    _tvq_image_part(${target} ${name} "${autogen}")
  endforeach()
  foreach(target IN LISTS ours)
    # EDK II's tools let a module include the headers of its own folders.
    target_include_directories(${target} PRIVATE ${IMAGE_OWN_FOLDERS})
    target_include_directories(${target} SYSTEM PRIVATE ${arg_INCLUDES} ${arg_EDK2_INCLUDES})
    target_link_libraries(${target} PRIVATE tvq_host_warnings tvq_fuzzed $<TARGET_NAME_IF_EXISTS:tvq_counted>)
  endforeach()
  target_link_libraries(${part}_glue PRIVATE tvq_host_warnings)
  if(TARGET ${part}_edk2)
    target_include_directories(${part}_edk2 PRIVATE ${arg_EDK2_INCLUDES})
    target_compile_options(${part}_edk2 PRIVATE ${arg_EDK2_OPTIONS})
    target_link_libraries(${part}_edk2 PRIVATE tvq_edk2_code)
  endif()

  set(exporters ${part}_own)
  if(arg_PRIVATE)
    set(exporters)
  endif()
  _tvq_join_image(${name} ${part} "${autogen}" "${archives}" "${exporters}")
endfunction()

function(tvq_efi_image name)
  tvq_efi_object(${name} ${ARGN})
  set(autogen "${PROJECT_BINARY_DIR}/images/${name}")
  configure_file("${TVQ_CMAKE_DIR}/image.h.in" "${PROJECT_BINARY_DIR}/generated/images/${name}.h" @ONLY)
  configure_file("${TVQ_CMAKE_DIR}/image.cpp.in" "${autogen}/image.cpp" @ONLY)
  add_library(tvq_image_${name} STATIC "${autogen}/image.cpp" "${autogen}/${name}.o")
  target_link_libraries(tvq_image_${name} PUBLIC tvq_firmware)
endfunction()
