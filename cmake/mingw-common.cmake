# What both Windows toolchain files share; they set KSV_MINGW_TRIPLE and include this.
set(CMAKE_C_COMPILER "${KSV_MINGW_TRIPLE}-gcc-posix")
set(CMAKE_CXX_COMPILER "${KSV_MINGW_TRIPLE}-g++-posix")
set(CMAKE_RC_COMPILER "${KSV_MINGW_TRIPLE}-windres")

# Headers and libraries come from the target's tree alone: Linux ones would be found first and fail late.
set(CMAKE_FIND_ROOT_PATH "/usr/${KSV_MINGW_TRIPLE}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
