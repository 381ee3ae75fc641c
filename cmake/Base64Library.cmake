# Gives the target `ksv_base64`: libb64, included as <b64/cencode.h> and <b64/cdecode.h> on every system.
#
# Linux takes the distribution's package. For Windows no package exists, and the fuzz targets want it with the sanitizers
# in it: so there the two C files are built from the source that `scripts/setup windows` or `fuzz` fetched and mended.
if(WIN32 OR KSV_FUZZ)
  if(DEFINED ENV{XDG_CACHE_HOME} AND NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(ksv_cache "$ENV{XDG_CACHE_HOME}/ksv-plugin")
  else()
    set(ksv_cache "$ENV{HOME}/.cache/ksv-plugin")
  endif()
  set(KSV_BASE64_SOURCE "${ksv_cache}/libb64" CACHE PATH "libb64's source, as scripts/setup leaves it")
  if(NOT EXISTS "${KSV_BASE64_SOURCE}/src/cdecode.c")
    message(FATAL_ERROR "libb64's source is not in ${KSV_BASE64_SOURCE}: run `scripts/setup windows fuzz` first")
  endif()
  add_library(ksv_base64 STATIC "${KSV_BASE64_SOURCE}/src/cdecode.c" "${KSV_BASE64_SOURCE}/src/cencode.c")
  target_include_directories(ksv_base64 SYSTEM PUBLIC "${KSV_BASE64_SOURCE}/include")
  target_compile_options(ksv_base64 PRIVATE -w)  # another project's code: its warnings are not ours to keep clean
else()
  find_path(KSV_BASE64_INCLUDE b64/cdecode.h)
  find_library(KSV_BASE64_LIBRARY b64)
  if(NOT KSV_BASE64_INCLUDE OR NOT KSV_BASE64_LIBRARY)
    message(FATAL_ERROR "libb64 is not installed: run `scripts/setup native` first")
  endif()
  add_library(ksv_base64 INTERFACE)
  target_include_directories(ksv_base64 SYSTEM INTERFACE "${KSV_BASE64_INCLUDE}")
  target_link_libraries(ksv_base64 INTERFACE "${KSV_BASE64_LIBRARY}")
endif()
