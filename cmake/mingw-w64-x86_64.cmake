# Cross-compiles for 64-bit Windows with Debian's MinGW-w64 toolchain (x86_64-w64-mingw32).
set(MINGW_ARCH x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-common.cmake)
