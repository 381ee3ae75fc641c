# Run while installing, with the variables of linux.cmake. The part `plugin`: the packages of the extension, and the native
# manifests by which browsers find the host. The part `policies`: what makes browsers install the extension.
cmake_path(ABSOLUTE_PATH share BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
cmake_path(ABSOLUTE_PATH kit BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
set(KSV_URL "file://${share}/bridge")
set(KSV_BRIDGE_PATH "${kit}/ksv-bridge")

set(id)
if(EXISTS "${packages}/ksv.crx")
  file(STRINGS "${packages}/id" id)
endif()
if(NOT id)
  message(FATAL_ERROR "the extension is not packed: run bridge/pack, and install then")
elseif(NOT id STREQUAL KSV_CHROMIUM_ID)
  message(FATAL_ERROR
    "the host was built for the extension '${KSV_CHROMIUM_ID}', and ${id} is packed: configure and build again")
endif()
include("${source}/install/files.cmake")

# Usage: put_link(TARGET FOLDER NAME)   a link in a folder of the browsers' to an installed file: Debian would keep files
# in /etc when a package is removed. A macro, for the list of what was installed is a variable of the caller's.
macro(put_link target folder name)
  if(browser_folders)
    set(place "${folder}")
    cmake_path(ABSOLUTE_PATH place BASE_DIRECTORY "${browser_folders}")
    set(link "${target}")
    # As Debian has its links: relative where both are in /usr, else absolute.
    if(link MATCHES "^/usr/" AND place MATCHES "^/usr/")
      file(RELATIVE_PATH link "${place}" "${target}")
    endif()
    file(MAKE_DIRECTORY "${FOLDER}/links")
    file(CREATE_LINK "${link}" "${FOLDER}/links/${name}" SYMBOLIC)
    file(INSTALL "${FOLDER}/links/${name}" DESTINATION "${place}")
  endif()
endmacro()

if(part STREQUAL plugin)
  file(INSTALL "${packages}/ksv.crx" "${packages}/ksv.xpi" "${FOLDER}/update.xml" "${FOLDER}/updates.json"
    DESTINATION "${share}/bridge")
  foreach(browser IN ITEMS chromium firefox)
    configure_file("${source}/host/native_manifest.${browser}.json.in" "${FOLDER}/${browser}/com.norvo.ksv.json" @ONLY)
    file(INSTALL "${FOLDER}/${browser}/com.norvo.ksv.json" DESTINATION "${share}/bridge/${browser}")
  endforeach()
  foreach(folder IN LISTS chromium_hosts)
    put_link("${share}/bridge/chromium/com.norvo.ksv.json" "${folder}" com.norvo.ksv.json)
  endforeach()
  put_link("${share}/bridge/firefox/com.norvo.ksv.json" "${firefox_hosts}" com.norvo.ksv.json)
else()
  file(INSTALL "${FOLDER}/chromium-policies/ksv.json" DESTINATION "${share}/policies/chromium")
  put_link("${share}/policies/chromium/ksv.json" "${chromium_policies}" ksv.json)
  # Firefox has one policies.json for all policies of the machine, which is not ours to write: it takes the extension from
  # the folder of the system's extensions, and the sites from a file of the extension's own.
  file(INSTALL "${FOLDER}/firefox-policies/policies.json" DESTINATION "${share}/policies/firefox")
  put_link("${share}/bridge/ksv.xpi" "${firefox_extensions}"
           "${KSV_FIREFOX_ID}.xpi")
  if(KSV_SITES)
    file(INSTALL "${FOLDER}/storage.json" DESTINATION "${share}/policies/firefox")
    put_link("${share}/policies/firefox/storage.json" "${firefox_storage}" "${KSV_FIREFOX_ID}.json")
  endif()
endif()
