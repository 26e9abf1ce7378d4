# Builds for 32-bit x86 Linux with clang, with the sizes of long and wchar_t that Windows has.
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
# The kernel's headers serve both word sizes, but lie where only 64-bit compilations look.
set(flags "-m32 -fshort-wchar -idirafter /usr/include/x86_64-linux-gnu")
set(CMAKE_C_FLAGS_INIT "${flags}")
set(CMAKE_CXX_FLAGS_INIT "${flags}")
set(CMAKE_LIBRARY_ARCHITECTURE "")
set(CMAKE_SYSTEM_LIBRARY_PATH /usr/lib32)
