# Takes away what `cmake --install` put there from the build folder BUILD: the files of its list, then the folders that
# it made, as far as nothing else has come into them. DESTDIR is to be set as it was then.
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
# A folder stands before those in it when sorted, so the other way round it comes after them.
list(SORT folders ORDER DESCENDING)
foreach(folder IN LISTS folders)
  # The system itself refuses to remove one that is not empty, at the very moment and whatever its name.
  execute_process(COMMAND rmdir -- "${folder}" ERROR_QUIET)
endforeach()
file(REMOVE "${BUILD}/install_manifest.txt" "${BUILD}/install_folders.txt")
