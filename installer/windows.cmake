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
add_custom_command(
  OUTPUT "${package}"
  COMMAND "${CMAKE_COMMAND}" "-DMODULE=$<TARGET_FILE:npNorvoWebAPIKSV>" -DARCH=${arch} "-DOUTPUT=${package}"
          "-DSTRIP=${CMAKE_STRIP}" ${doctor_definition} -P "${CMAKE_CURRENT_LIST_DIR}/make_package.cmake"
  DEPENDS npNorvoWebAPIKSV ${doctor} ksv.wxs ksv.ico readme.txt make_package.cmake set-package-time
          "${CMAKE_SOURCE_DIR}/cmake/ProductTexts.cmake" "${CMAKE_SOURCE_DIR}/src/base/product_texts.h"
  VERBATIM)
add_custom_target(installer DEPENDS "${package}")
