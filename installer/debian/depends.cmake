# Run by cpack before it packs: asks dpkg-shlibdeps which packages the programs need. CPack would ask it too, and then add
# scripts that call ldconfig, for libraries which no loader looks for: with those `apt remove` would not be the end of it.
set(folder "${CPACK_PACKAGE_DIRECTORY}/_CPack_Packages")
file(WRITE "${folder}/debian/control" "")
execute_process(COMMAND dpkg-shlibdeps -O ${CPACK_KSV_PROGRAMS} WORKING_DIRECTORY "${folder}" OUTPUT_VARIABLE depends
  COMMAND_ERROR_IS_FATAL ANY)
if(NOT depends MATCHES "^shlibs:Depends=([^\n]+)")
  message(FATAL_ERROR "dpkg-shlibdeps names no packages: ${depends}")
endif()
string(APPEND CPACK_DEBIAN_PLUGIN_PACKAGE_DEPENDS ", ${CMAKE_MATCH_1}")
