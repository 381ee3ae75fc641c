# Removes what `cmake --install` installed from the build folder BUILD: the files of its list, then the folders that it
# made, if they are empty. DESTDIR has to be set as it was then.
if(NOT EXISTS "${BUILD}/install_manifest.txt")
  message(FATAL_ERROR "nothing is installed from ${BUILD}: it holds no install_manifest.txt")
endif()
file(STRINGS "${BUILD}/install_manifest.txt" files)
foreach(file IN LISTS files)
  message(STATUS "Removing $ENV{DESTDIR}${file}")
  file(REMOVE "$ENV{DESTDIR}${file}")
  # file(REMOVE) is silent about what it can't remove.
  if(EXISTS "$ENV{DESTDIR}${file}" OR IS_SYMLINK "$ENV{DESTDIR}${file}")
    message(FATAL_ERROR "$ENV{DESTDIR}${file} can't be removed: run this with the rights that the installation had")
  endif()
endforeach()

set(folders)
if(EXISTS "${BUILD}/install_folders.txt")
  file(STRINGS "${BUILD}/install_folders.txt" folders)
endif()
# In descending order a folder comes after those inside it.
list(SORT folders ORDER DESCENDING)
foreach(folder IN LISTS folders)
  # `rmdir` refuses a folder that is not empty.
  execute_process(COMMAND rmdir -- "${folder}" ERROR_QUIET)
endforeach()
file(REMOVE "${BUILD}/install_manifest.txt" "${BUILD}/install_folders.txt")
