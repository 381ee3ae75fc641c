# Cross compilation for 32-bit Windows: the product itself. The posix variants are the ones whose std::thread works.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)
set(KSV_MINGW_TRIPLE i686-w64-mingw32)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine" --32)
include("${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake")
