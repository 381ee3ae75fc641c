# Where `cmake --install` puts the files, and the target `uninstall`, which removes them. What only the Debian packages
# hold is in debian.cmake.
if(NOT CMAKE_INSTALL_DOCDIR)
  set(CMAKE_INSTALL_DOCDIR share/doc/ksv-plugin)
endif()
include(GNUInstallDirs)
set(KSV_BROWSER_FOLDERS "/" CACHE PATH
  "Above the folders outside the prefix in which browsers look, etc and usr; empty: nothing is put there")
option(KSV_POLICIES "Install what makes browsers of all users install the extension too" OFF)
set(KSV_SITES "" CACHE STRING "With the policies: the origins that may use the plug-in, such as https://bank.example")
set(plugins "${CMAKE_INSTALL_LIBDIR}/mozilla/plugins")
set(kit "${CMAKE_INSTALL_LIBDIR}/ksv")
set(browser "${kit}/browser")
set(share "${CMAKE_INSTALL_DATADIR}/ksv")
set(pages "${share}/pages")
# The packages are made of the components `plugin` and `policies`.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME plugin)
set(not_by_default EXCLUDE_FROM_ALL)
if(KSV_POLICIES)
  set(not_by_default)
endif()

set(linked_documents bridge/README.md bridge/PROTOCOL.md kit/agent/README.md kit/display/README.md
  kit/host/README.md kit/nphost/README.md kit/pages/README.md)

# Before the installation: record which of the folders don't exist yet. Only those are removed by `uninstall`.
set(folders ${CMAKE_INSTALL_BINDIR} ${plugins} ${browser} ${pages} ${share}/bridge/chromium ${share}/bridge/firefox
  ${CMAKE_INSTALL_DOCDIR}/docs/images ${CMAKE_INSTALL_MANDIR}/man1)
foreach(linked IN LISTS linked_documents)
  cmake_path(GET linked PARENT_PATH folder)
  list(APPEND folders "${CMAKE_INSTALL_DOCDIR}/${folder}")
endforeach()
if(KSV_POLICIES)
  list(APPEND folders ${share}/policies/chromium ${share}/policies/firefox)
endif()
# Where browsers look.
set(chromium_hosts etc/chromium/native-messaging-hosts etc/opt/chrome/native-messaging-hosts
  etc/opt/edge/native-messaging-hosts)
set(firefox_hosts usr/lib/mozilla/native-messaging-hosts)
set(chromium_policies etc/chromium/policies/managed)
set(firefox_extensions "usr/share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}")
set(firefox_storage usr/lib/mozilla/managed-storage)
if(KSV_BROWSER_FOLDERS)
  set(outside ${chromium_hosts} ${firefox_hosts})
  if(KSV_POLICIES)
    list(APPEND outside ${chromium_policies} ${firefox_extensions} ${firefox_storage})
  endif()
  foreach(folder IN LISTS outside)
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${KSV_BROWSER_FOLDERS}")
    list(APPEND folders "${folder}")
  endforeach()
endif()
install(CODE "set(folders \"${folders}\")\nset(record \"${CMAKE_BINARY_DIR}/install_folders.txt\")" COMPONENT record)
install(SCRIPT record_folders.cmake COMPONENT record)

install(TARGETS npNorvoWebAPIKSV LIBRARY DESTINATION "${plugins}")
foreach(library IN ITEMS zub ksvWys)
  if(TARGET ${library})
    install(TARGETS ${library} LIBRARY DESTINATION "${kit}")
  endif()
endforeach()
install(FILES "${CMAKE_BINARY_DIR}/kit/oath.trok" "${CMAKE_BINARY_DIR}/kit/oath.pack" DESTINATION "${kit}")
install(DIRECTORY "${CMAKE_SOURCE_DIR}/kit/pages/" DESTINATION "${pages}")
install(FILES "${CMAKE_SOURCE_DIR}/README.md" "${CMAKE_SOURCE_DIR}/CHANGELOG.md" "${CMAKE_SOURCE_DIR}/SECURITY.md"
  "${CMAKE_SOURCE_DIR}/CONTRIBUTING.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY "${CMAKE_SOURCE_DIR}/docs/" DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
# What these documents link to.
foreach(linked IN LISTS linked_documents)
  cmake_path(GET linked PARENT_PATH folder)
  install(FILES "${CMAKE_SOURCE_DIR}/${linked}" DESTINATION "${CMAKE_INSTALL_DOCDIR}/${folder}")
endforeach()
install(TARGETS ksv-doctor RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")

function(install_link target name folder component)
  file(RELATIVE_PATH path "/prefix/${folder}" "/prefix/${target}")
  file(CREATE_LINK "${path}" "${CMAKE_CURRENT_BINARY_DIR}/${name}" SYMBOLIC)
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}" DESTINATION "${folder}" COMPONENT ${component})
endfunction()
# The host and the browser look for the module in their own folder and the one above it.
install(TARGETS ksv-bridge RUNTIME DESTINATION "${kit}")
install_link("${plugins}/npNorvoWebAPIKSV.so" npNorvoWebAPIKSV.so "${kit}" plugin)
if(TARGET ksv-browser)
  install(TARGETS ksv-browser ksv-browser-module RUNTIME DESTINATION "${browser}" LIBRARY DESTINATION "${browser}"
    COMPONENT browser)
  install_link("${browser}/ksv-browser" ksv-browser "${CMAKE_INSTALL_BINDIR}" browser)
endif()

# The bridge's packages, and what tells browsers of them and of the host. The ids are those that the host was built with.
get_directory_property(chromium_id DIRECTORY "${CMAKE_SOURCE_DIR}/bridge/host" DEFINITION KSV_CHROMIUM_ID)
get_directory_property(firefox_id DIRECTORY "${CMAKE_SOURCE_DIR}/bridge/host" DEFINITION KSV_FIREFOX_ID)
install(CODE "
set(source \"${CMAKE_SOURCE_DIR}/bridge\")
set(packages \"${CMAKE_SOURCE_DIR}/build/bridge\")
set(FOLDER \"${CMAKE_BINARY_DIR}/install\")
set(kit \"${kit}\")
set(share \"${share}\")
set(browser_folders \"${KSV_BROWSER_FOLDERS}\")
set(chromium_hosts \"${chromium_hosts}\")
set(firefox_hosts \"${firefox_hosts}\")
set(chromium_policies \"${chromium_policies}\")
set(firefox_extensions \"${firefox_extensions}\")
set(firefox_storage \"${firefox_storage}\")
set(KSV_CHROMIUM_ID \"${chromium_id}\")
set(KSV_FIREFOX_ID \"${firefox_id}\")
set(KSV_SITES \"${KSV_SITES}\")" ALL_COMPONENTS)
install(CODE "set(part plugin)")
install(SCRIPT install_bridge.cmake)
install(CODE "set(part policies)" COMPONENT policies ${not_by_default})
install(SCRIPT install_bridge.cmake COMPONENT policies ${not_by_default})
include(debian.cmake)

add_custom_target(uninstall
  COMMAND "${CMAKE_COMMAND}" "-DBUILD=${CMAKE_BINARY_DIR}" -P "${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake"
  VERBATIM)
