# MandorDLL.dll, the Windows automation server, cross-compiled with MinGW-w64 as an external
# project of its own (mandor/server) for each toolchain found: build dir mingw64 (x86_64) and
# mingw32 (i686). The COM tests run the 64-bit DLL under Wine and report Skipped when anything
# they need is missing.
option(MANDOR_BUILD_COM "Build MandorDLL.dll when the MinGW-w64 cross compilers are found" ON)
set(MANDOR_PUGIXML_SOURCE_DIR "/usr/local/src/pugixml-debian" CACHE PATH
    "pugixml source package compiled into MandorDLL.dll (scripts/install-deps.sh unpacks it)")

set(MANDOR_DLL64 "${PROJECT_BINARY_DIR}/mingw64/MandorDLL.dll")
if(MANDOR_BUILD_COM)
  include(ExternalProject)
  foreach(arch x86_64 i686)
    if(arch STREQUAL "x86_64")
      set(bits 64)
    else()
      set(bits 32)
    endif()
    find_program(MANDOR_MINGW${bits}_CXX ${arch}-w64-mingw32-g++)
    if(NOT MANDOR_MINGW${bits}_CXX)
      message(STATUS "MandorDLL.dll (${bits}-bit) not built: ${arch}-w64-mingw32-g++ not found")
    elseif(NOT EXISTS "${MANDOR_PUGIXML_SOURCE_DIR}/src/pugixml.cpp")
      message(STATUS "MandorDLL.dll (${bits}-bit) not built: no pugixml sources in ${MANDOR_PUGIXML_SOURCE_DIR}")
    else()
      # The 32-bit build embeds a type library written by the 64-bit build's generator.
      set(generator_args "")
      set(generator_depends "")
      if(bits EQUAL 32 AND TARGET mandor_dll64)
        set(generator_args -DMANDOR_TYPELIB_GENERATOR=${PROJECT_BINARY_DIR}/mingw64/typelib_gen.exe)
        set(generator_depends mandor_dll64)
      endif()
      ExternalProject_Add(mandor_dll${bits}
        SOURCE_DIR ${PROJECT_SOURCE_DIR}/mandor/server
        BINARY_DIR ${PROJECT_BINARY_DIR}/mingw${bits}
        CMAKE_ARGS -DCMAKE_TOOLCHAIN_FILE=${PROJECT_SOURCE_DIR}/cmake/mingw-w64-${arch}.cmake
                   -DMANDOR_WERROR=${MANDOR_WERROR}
                   -DPUGIXML_SOURCE_DIR=${MANDOR_PUGIXML_SOURCE_DIR}
                   ${generator_args}
        DEPENDS ${generator_depends}
        # Two jobs at most, and one DLL at a time (the console pool).
        BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> -j2
        USES_TERMINAL_BUILD ON
        BUILD_ALWAYS ON
        INSTALL_COMMAND ""
        BUILD_BYPRODUCTS ${PROJECT_BINARY_DIR}/mingw${bits}/MandorDLL.dll)
    endif()
  endforeach()
endif()

if(MANDOR_BUILD_TESTS AND MANDOR_BUILD_COM)
  add_test(NAME com_vbscript
    COMMAND bash ${PROJECT_SOURCE_DIR}/tests/server/run_com_tests.sh ${MANDOR_DLL64} ${PROJECT_BINARY_DIR}/com-tests
            $<$<TARGET_EXISTS:mandor_dll32>:${PROJECT_BINARY_DIR}/mingw32/MandorDLL.dll>)
  set_tests_properties(com_vbscript PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 600)
endif()
