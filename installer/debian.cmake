# The Debian packages, by CPack: ksv-plugin, and ksv-plugin-policies for administrators.
include(ProductTexts)
set(KSV_MAINTAINER "${KSV_VENDOR} <ksv@norvo.example>" CACHE STRING "Who stands in the Debian packages for them")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(package IN ITEMS ksv-plugin ksv-plugin-policies)
  string(REGEX REPLACE "^ksv-plugin-?" "" component "${package}")
  if(NOT component)
    set(component plugin)
  endif()
  set(made "${CMAKE_CURRENT_BINARY_DIR}/debian/${package}")
  configure_file(debian/changelog.in "${made}/changelog" @ONLY)
  execute_process(COMMAND gzip -9 -n -f "${made}/changelog" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${made}/changelog.gz" debian/copyright DESTINATION "share/doc/${package}" COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endforeach()
# Also without a package: manuals are compressed everywhere.
configure_file(debian/ksv-doctor.1 "${CMAKE_CURRENT_BINARY_DIR}/debian/ksv-doctor.1" COPYONLY)
execute_process(COMMAND gzip -9 -n -f "${CMAKE_CURRENT_BINARY_DIR}/debian/ksv-doctor.1" COMMAND_ERROR_IS_FATAL ANY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/debian/ksv-doctor.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES debian/lintian-overrides DESTINATION share/lintian/overrides RENAME ksv-plugin EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION "${KSV_FILE_VERSION}")
set(CPACK_PACKAGE_CONTACT "${KSV_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${KSV_HELP_LINK}")
set(CPACK_DEBIAN_PACKAGE_SECTION web)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
# Files outside the prefix are packaged by DESTDIR only.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL plugin policies)

set(CPACK_DEBIAN_PLUGIN_PACKAGE_NAME ksv-plugin)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_DEPENDS fonts-dejavu-core)
set(CPACK_DEBIAN_PLUGIN_PACKAGE_RECOMMENDS "chromium | firefox-esr")
set(CPACK_DEBIAN_PLUGIN_PACKAGE_SUGGESTS ksv-plugin-policies)
set(CPACK_DEBIAN_PLUGIN_DESCRIPTION "one-time passwords for web pages: plug-in, bridge to browsers
Pages of web services that issue one-time passwords call this plug-in, which
keeps its secrets in native libraries where no page can read them.

The package has the plug-in's module, the native host that brings it to
Chromium and Firefox, the packages of the extension that goes with the host,
a program that finds out what is missing, and sample pages.")

set(CPACK_DEBIAN_POLICIES_PACKAGE_NAME ksv-plugin-policies)
set(CPACK_DEBIAN_POLICIES_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_POLICIES_PACKAGE_DEPENDS "ksv-plugin (= ${KSV_FILE_VERSION})")
configure_file(debian/preinst.in "${CMAKE_CURRENT_BINARY_DIR}/debian/preinst" @ONLY
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_POLICIES_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_BINARY_DIR}/debian/preinst")
set(CPACK_DEBIAN_POLICIES_DESCRIPTION "one-time passwords for web pages: extension for all users
Makes Chromium and Firefox install the extension of ksv-plugin for all users
of the machine.

Chromium gets a policy. Firefox finds the extension in the folder of the
system's extensions.")
set(CPACK_KSV_PROGRAMS npNorvoWebAPIKSV.so ksv-doctor bridge/ksv-bridge kit/zub.dll kit/ksvWys.dll)
list(TRANSFORM CPACK_KSV_PROGRAMS PREPEND "${CMAKE_BINARY_DIR}/")
set(CPACK_PROJECT_CONFIG_FILE "${CMAKE_CURRENT_LIST_DIR}/debian/depends.cmake")
include(CPack)

# The rights of the folders are those that the umask leaves.
add_custom_target(installer COMMAND sh -c "umask 022 && exec '${CMAKE_CPACK_COMMAND}'" WORKING_DIRECTORY "${CMAKE_BINARY_DIR}" VERBATIM)
add_dependencies(installer npNorvoWebAPIKSV ksv-bridge ksv-doctor zub ksvWys)
