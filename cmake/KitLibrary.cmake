# Adds a reference library under the name that hosts look for on every system, NAME.dll in the folder kit. It exports
# what NAME.def lists and nothing else; the names there begin with PREFIX.
function(ksv_add_kit_library name prefix)
  set(exports "${CMAKE_CURRENT_SOURCE_DIR}/${name}.def")
  add_library(${name} MODULE ${ARGN})
  set_target_properties(${name} PROPERTIES
    PREFIX "" SUFFIX ".dll"
    CXX_VISIBILITY_PRESET default
    LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/kit"
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/kit")
  if(WIN32)
    target_sources(${name} PRIVATE "${exports}")
  else()
    file(STRINGS "${exports}" names REGEX "^ +${prefix}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${exports}")
    list(TRANSFORM names STRIP)
    list(JOIN names ";\n    " names)
    set(map "${CMAKE_CURRENT_BINARY_DIR}/${name}.map")
    file(CONFIGURE OUTPUT "${map}" CONTENT "{\n  global:\n    @names@;\n  local: *;\n};\n" @ONLY)
    target_link_options(${name} PRIVATE "-Wl,--version-script=${map}")
    set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${map}")
  endif()
endfunction()
