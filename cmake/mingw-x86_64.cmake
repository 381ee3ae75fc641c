# Cross compilation for 64-bit Windows: the same sources where Wine runs 64-bit programs only.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(KSV_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine")
include("${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake")
