# Where the trees of EDK II and expat are: EDK2_DIR and EXPAT_DIR, which may be in the environment too, or else what
# `./dev setup` fetched.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

if(NOT "$ENV{TVQ_CACHE_DIR}" STREQUAL "")
  set(_cache "$ENV{TVQ_CACHE_DIR}")
elseif(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
  set(_cache "$ENV{XDG_CACHE_HOME}/tvqsmbios")
else()
  set(_cache "$ENV{HOME}/.cache/tvqsmbios")
endif()

# _tvq_source_tree(VARIABLE FETCHED DESCRIPTION)
function(_tvq_source_tree variable fetched description)
  set(tree "${fetched}")
  if(NOT "$ENV{${variable}}" STREQUAL "")
    set(tree "$ENV{${variable}}")
  endif()
  set(${variable} "${tree}" CACHE PATH "${description}")
endfunction()

_tvq_source_tree(EDK2_DIR "${_cache}/edk2" "The EDK II source tree")
_tvq_source_tree(EXPAT_DIR "${_cache}/expat/expat" "The expat source tree, for the reference platform's XML parser")
unset(_cache)
