# Where `cmake --install` puts the files, and the target `uninstall`, which removes them.
include(GNUInstallDirs)
set(plugins "${CMAKE_INSTALL_LIBDIR}/mozilla/plugins")
set(kit "${CMAKE_INSTALL_LIBDIR}/ksv")
set(browser "${kit}/browser")
set(pages "${CMAKE_INSTALL_DATADIR}/ksv/pages")

# Before the installation: record which of the folders don't exist yet. Only those are removed by `uninstall`.
set(folders ${CMAKE_INSTALL_BINDIR} ${plugins} ${browser} ${pages} ${CMAKE_INSTALL_DOCDIR}/docs/images)
install(CODE "set(folders \"${folders}\")\nset(record \"${CMAKE_BINARY_DIR}/install_folders.txt\")")
install(SCRIPT record_folders.cmake)

install(TARGETS npNorvoWebAPIKSV LIBRARY DESTINATION "${plugins}")
foreach(library IN ITEMS zub ksvWys)
  if(TARGET ${library})
    install(TARGETS ${library} LIBRARY DESTINATION "${kit}")
  endif()
endforeach()
install(FILES "${CMAKE_BINARY_DIR}/kit/oath.trok" "${CMAKE_BINARY_DIR}/kit/oath.pack" DESTINATION "${kit}")
install(DIRECTORY "${CMAKE_SOURCE_DIR}/kit/pages/" DESTINATION "${pages}")
install(FILES "${CMAKE_SOURCE_DIR}/README.md" "${CMAKE_SOURCE_DIR}/CHANGELOG.md" "${CMAKE_SOURCE_DIR}/SECURITY.md"
  DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY "${CMAKE_SOURCE_DIR}/docs/" DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs")
if(TARGET ksv-doctor)
  install(TARGETS ksv-doctor RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
if(TARGET ksv-browser)
  # The program loads its own module from its folder and the plug-in's from the folder above.
  install(TARGETS ksv-browser ksv-browser-module RUNTIME DESTINATION "${browser}" LIBRARY DESTINATION "${browser}")
  function(install_link target name folder)
    file(RELATIVE_PATH path "/prefix/${folder}" "/prefix/${target}")
    file(CREATE_LINK "${path}" "${CMAKE_CURRENT_BINARY_DIR}/${name}" SYMBOLIC)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/${name}" DESTINATION "${folder}")
  endfunction()
  install_link("${plugins}/npNorvoWebAPIKSV.so" npNorvoWebAPIKSV.so "${kit}")
  install_link("${browser}/ksv-browser" ksv-browser "${CMAKE_INSTALL_BINDIR}")
endif()

add_custom_target(uninstall
  COMMAND "${CMAKE_COMMAND}" "-DBUILD=${CMAKE_BINARY_DIR}" -P "${CMAKE_CURRENT_LIST_DIR}/uninstall.cmake"
  VERBATIM)
