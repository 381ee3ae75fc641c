# Compiles through ccache where it is installed; the presets load this before anything else. Paths below the checkout are
# taken as relative ones, so that a checkout in another folder finds what an earlier one compiled.
find_program(KSV_CCACHE ccache)
if(KSV_CCACHE)
  set(launcher env "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}" CCACHE_NOHASHDIR=1 "${KSV_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER "${launcher}" CACHE STRING "What the C compiler is started by")
  set(CMAKE_CXX_COMPILER_LAUNCHER "${launcher}" CACHE STRING "What the C++ compiler is started by")
endif()
