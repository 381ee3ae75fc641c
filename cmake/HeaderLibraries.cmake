# Adds TARGET for a library of headers only, which PACKAGE installs as IMPORTED. The cross compilers must not look into
# the machine's own include folder, so they see the one folder of it that HEADER is in through a link.
function(ksv_add_header_library target package version imported header)
  add_library(${target} INTERFACE)
  if(WIN32)
    find_path(${target}_headers ${header} PATHS /usr/include /usr/local/include NO_DEFAULT_PATH
              NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    cmake_path(GET header PARENT_PATH folder)
    set(seen "${CMAKE_BINARY_DIR}/headers/${target}")
    file(MAKE_DIRECTORY "${seen}")
    file(CREATE_LINK "${${target}_headers}/${folder}" "${seen}/${folder}" SYMBOLIC)
    target_include_directories(${target} SYSTEM INTERFACE "${seen}")
  else()
    find_package(${package} ${version} REQUIRED)
    target_link_libraries(${target} INTERFACE ${imported})
  endif()
endfunction()

ksv_add_header_library(ksv_json nlohmann_json 3.11 nlohmann_json::nlohmann_json nlohmann/json.hpp)
ksv_add_header_library(ksv_cli11 CLI11 2.1 CLI11::CLI11 CLI/CLI.hpp)
