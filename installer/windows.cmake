# The target `installer`: the package for Windows, beside the module that it holds. Not part of a plain build.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(arch x64)
else()
  set(arch x86)
endif()
set(package "${CMAKE_BINARY_DIR}/KSV-plugin-${KSV_FILE_VERSION}-${arch}.msi")

set(doctor)
set(doctor_definition)
if(TARGET ksv-doctor)
  set(doctor ksv-doctor)
  set(doctor_definition "-DDOCTOR=$<TARGET_FILE:ksv-doctor>")
endif()
# The extension, for whose id the host is built. It is packed apart from build/bridge, which a browser may be using.
set(KSV_EXTENSION_KEY "${CMAKE_SOURCE_DIR}/build/bridge/key.pem" CACHE FILEPATH
  "The key that signs the extension in the package for Windows")
set(KSV_UPDATE_URL "" CACHE STRING "Where Firefox looks for updates of the extension in that package; empty: nowhere")
set(bridge "${CMAKE_BINARY_DIR}/bridge")
set(extension "${bridge}/extension")
set(pack "${CMAKE_SOURCE_DIR}/bridge/pack")
file(GLOB extension_sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/bridge/extension/*" "${CMAKE_SOURCE_DIR}/bridge/archive"
     "${CMAKE_SOURCE_DIR}/bridge/install/*")
add_custom_command(
  OUTPUT "${extension}/ksv.crx" "${extension}/ksv.xpi" "${extension}/update.xml" "${extension}/id"
  COMMAND sh -c "test -e \"$0\" || { echo 'installer: the extension can not be signed, its key is missing: run scripts/setup bridge' >&2; exit 1; }" "${KSV_EXTENSION_KEY}"
  COMMAND "${pack}" --key "${KSV_EXTENSION_KEY}" --update-url "${KSV_UPDATE_URL}" "${extension}"
  DEPENDS "${pack}" ${extension_sources} "${CMAKE_SOURCE_DIR}/src/base/product_texts.h"
  VERBATIM)

add_custom_command(
  OUTPUT "${package}"
  COMMAND "${CMAKE_COMMAND}" "-DMODULE=$<TARGET_FILE:npNorvoWebAPIKSV>" -DARCH=${arch} "-DOUTPUT=${package}"
          "-DSTRIP=${CMAKE_STRIP}" ${doctor_definition} "-DBRIDGE=${bridge}" -P "${CMAKE_CURRENT_LIST_DIR}/make_package.cmake"
  DEPENDS npNorvoWebAPIKSV ${doctor} ksv-bridge ksv-setup "${extension}/ksv.crx" ksv.wxs ksv.ico readme.txt
          make_package.cmake set-package-time
          "${CMAKE_SOURCE_DIR}/cmake/ProductTexts.cmake" "${CMAKE_SOURCE_DIR}/src/base/product_texts.h"
  VERBATIM)
add_custom_target(installer DEPENDS "${package}")
