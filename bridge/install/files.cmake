# Writes what makes browsers install the extension, into FOLDER: update.xml and updates.json, the manifests of updates;
# chromium-policies/ksv.json and firefox-policies/policies.json; storage.json, the sites for a Firefox without a policy.
# An installation includes this, bridge/pack runs it by `cmake -P`.
#
#   KSV_URL          the address of the folder with the packages, without a slash at its end
#   KSV_CHROMIUM_ID  the extension's id in Chromium; KSV_FIREFOX_ID that in Firefox
#   KSV_SITES        the list of the origins that may use the plug-in; empty: all may
#   KSV_UNSIGNED     true: Firefox's policy lets the browser install what its makers have not signed
include("${CMAKE_CURRENT_LIST_DIR}/../../cmake/ProductTexts.cmake")

set(sites)
foreach(site IN LISTS KSV_SITES)
  # Accepts what `matches` in bridge/extension/background.js can match, and nothing else.
  if(NOT site MATCHES "^[Hh][Tt][Tt][Pp][Ss]?://([A-Za-z0-9._-]+|\\[[0-9A-Fa-f:.]+\\])(:([0-9]+))?$"
     OR CMAKE_MATCH_3 GREATER 65535)
    message(FATAL_ERROR "KSV_SITES: '${site}' is no origin, such as https://bank.example")
  endif()
  list(APPEND sites "\"${site}\"")
endforeach()
if(sites)
  list(JOIN sites ", " sites)
  set(sites "\"sites\": [${sites}]")
endif()
set(unsigned)
if(KSV_UNSIGNED)
  # Only a locked preference does, and only in the edition for organisations.
  set(unsigned ",\n    \"Preferences\": {\"xpinstall.signatures.required\": {\"Value\": false, \"Status\": \"locked\"}}")
endif()

foreach(file IN ITEMS update.xml updates.json storage.json chromium-policies/ksv.json=chromium.json
        firefox-policies/policies.json=firefox.json)
  string(REGEX REPLACE "^.*=" "" template "${file}")
  string(REGEX REPLACE "=.*$" "" file "${file}")
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${template}.in" "${FOLDER}/${file}" @ONLY)
endforeach()
