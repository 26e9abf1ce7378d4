# Builds for 32-bit x86 Linux with clang, with the sizes of long and wchar_t that Windows has.
include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
# The kernel's headers serve both word sizes, but can lie where only 64-bit compilations look.
zelk_find_headers(ZELK_KERNEL_HEADERS asm/types.h /usr/include/x86_64-linux-gnu /usr/include)
set(flags "-m32 -fshort-wchar -idirafter ${ZELK_KERNEL_HEADERS}")
set(CMAKE_C_FLAGS_INIT "${flags}")
set(CMAKE_CXX_FLAGS_INIT "${flags}")
set(CMAKE_LIBRARY_ARCHITECTURE "")
