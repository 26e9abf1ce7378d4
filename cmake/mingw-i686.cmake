# Cross-compiles for 32-bit Windows with mingw-w64 GCC; programs run through Wine.
include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
# Some systems install the compiler twice and name each by its model of threads; the standard library's need this one.
zelk_find_program(ZELK_MINGW_CC i686-w64-mingw32-gcc-posix i686-w64-mingw32-gcc)
zelk_find_program(ZELK_MINGW_CXX i686-w64-mingw32-g++-posix i686-w64-mingw32-g++)
set(CMAKE_C_COMPILER ${ZELK_MINGW_CC})
set(CMAKE_CXX_COMPILER ${ZELK_MINGW_CXX})
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
# What is found belongs to the target: it lies where the compiler has the system's libraries.
execute_process(COMMAND ${ZELK_MINGW_CC} -print-file-name=libkernel32.a
    OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(CMAKE_FIND_ROOT_PATH ${library}/../.. REALPATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
zelk_find_emulator()
