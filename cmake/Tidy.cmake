# For the presets that run clang-tidy, KSV_TIDY, beside the compiler. Ninja does not know the rules: that they changed is
# a change of the command, so that every file is looked at again.
file(SHA256 "${CMAKE_SOURCE_DIR}/.clang-tidy" rules)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/.clang-tidy")
set(CMAKE_CXX_CLANG_TIDY ${KSV_TIDY} "--extra-arg=-DKSV_RULES=${rules}")
