# ksv_json: the JSON library, headers only. The cross compilers must not look into the machine's own include folder, so
# they see this one part of it through a link.
add_library(ksv_json INTERFACE)
if(WIN32)
  find_path(KSV_JSON_HEADERS nlohmann/json.hpp PATHS /usr/include /usr/local/include NO_DEFAULT_PATH
            NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/json")
  file(CREATE_LINK "${KSV_JSON_HEADERS}/nlohmann" "${CMAKE_BINARY_DIR}/json/nlohmann" SYMBOLIC)
  target_include_directories(ksv_json SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/json")
else()
  find_package(nlohmann_json 3.11 REQUIRED)
  target_link_libraries(ksv_json INTERFACE nlohmann_json::nlohmann_json)
endif()
