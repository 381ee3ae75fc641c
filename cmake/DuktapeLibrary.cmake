# Gives the target `ksv_duktape`: the script engine Duktape, from the one-file source that the distribution's package
# brings along, for every system the same.
#
# The distribution's binary leaves a script error by longjmp, which would jump over the destructors of the functions that
# script calls. So the engine is built here, as C++ and with exceptions in its place.
set(KSV_DUKTAPE_SOURCE "/usr/share/duktape" CACHE PATH "Duktape's one-file source")
if(NOT EXISTS "${KSV_DUKTAPE_SOURCE}/duktape.c")
  message(FATAL_ERROR "Duktape's source is not in ${KSV_DUKTAPE_SOURCE}: run `scripts/setup native` first")
endif()
set(ksv_duktape_folder "${CMAKE_BINARY_DIR}/duktape")
configure_file("${KSV_DUKTAPE_SOURCE}/duktape.h" "${ksv_duktape_folder}/duktape.h" COPYONLY)
configure_file("${KSV_DUKTAPE_SOURCE}/duktape.c" "${ksv_duktape_folder}/duktape.cpp" COPYONLY)
file(READ "${KSV_DUKTAPE_SOURCE}/duk_config.h" ksv_duktape_config)
string(REPLACE "#undef DUK_USE_CPP_EXCEPTIONS" "#define DUK_USE_CPP_EXCEPTIONS" ksv_duktape_changed
       "${ksv_duktape_config}")
if(ksv_duktape_changed STREQUAL ksv_duktape_config)
  message(FATAL_ERROR "Duktape's configuration is not the one that this file changes")
endif()
file(CONFIGURE OUTPUT "${ksv_duktape_folder}/duk_config.h" CONTENT "${ksv_duktape_changed}" @ONLY)

add_library(ksv_duktape STATIC "${ksv_duktape_folder}/duktape.cpp")
target_include_directories(ksv_duktape SYSTEM PUBLIC "${ksv_duktape_folder}")
# Another project's code: its warnings are not ours to keep clean.
target_compile_options(ksv_duktape PRIVATE -w)
set_target_properties(ksv_duktape PROPERTIES CXX_CLANG_TIDY "")
