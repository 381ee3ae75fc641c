# Adds a library that stands in for one of the vendor's: FOLDER/FILE, the name that hosts look for on every system. Its
# sources include the contract in vendor/, and a function that no header declares is an error: so each entry point has
# the contract's name and signature.
function(ksv_add_stand_in target folder file)
  cmake_path(GET file STEM stem)
  cmake_path(GET file EXTENSION extension)
  add_library(${target} MODULE ${ARGN})
  target_link_libraries(${target} PRIVATE ksv_options)
  target_compile_options(${target} PRIVATE
    $<IF:$<CXX_COMPILER_ID:GNU>,-Wmissing-declarations,-Wmissing-prototypes>)
  set_target_properties(${target} PROPERTIES
    PREFIX "" SUFFIX "${extension}" OUTPUT_NAME "${stem}"
    CXX_VISIBILITY_PRESET default
    LIBRARY_OUTPUT_DIRECTORY "${folder}"
    RUNTIME_OUTPUT_DIRECTORY "${folder}")
endfunction()

# Lets a library export the entry points that a header of vendor/ declares, all of them and nothing else. The link fails
# when one is not defined. Further arguments are patterns of names that the library shares with the program that loads it.
function(ksv_export_contract target header)
  set(contract "${CMAKE_SOURCE_DIR}/vendor/${header}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${contract}")
  file(READ "${contract}" text)
  string(REGEX MATCHALL "\nint32_t[ \n]+[A-Za-z0-9_]+\\(" names "${text}")
  list(TRANSFORM names REPLACE "\nint32_t[ \n]+([A-Za-z0-9_]+)\\(" "\\1")
  if(NOT names)
    message(FATAL_ERROR "No entry points found in ${contract}")
  endif()
  if(WIN32)
    set(exports "${CMAKE_CURRENT_BINARY_DIR}/${target}.def")
    list(JOIN names "\n  " lines)
    file(CONFIGURE OUTPUT "${exports}" CONTENT "EXPORTS\n  @lines@\n" @ONLY)
    target_sources(${target} PRIVATE "${exports}")
  else()
    set(exports "${CMAKE_CURRENT_BINARY_DIR}/${target}.map")
    list(JOIN names ";\n    " lines)
    foreach(pattern IN LISTS ARGN)
      string(APPEND lines ";\n    ${pattern}")
    endforeach()
    file(CONFIGURE OUTPUT "${exports}" CONTENT "{\n  global:\n    @lines@;\n  local: *;\n};\n" @ONLY)
    list(TRANSFORM names PREPEND "-Wl,--require-defined=")
    target_link_options(${target} PRIVATE "-Wl,--version-script=${exports}" ${names})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${exports}")
  endif()
endfunction()
