# Cross-compiles for 32-bit Windows with Debian's MinGW-w64 toolchain (i686-w64-mingw32).
set(MINGW_ARCH i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
