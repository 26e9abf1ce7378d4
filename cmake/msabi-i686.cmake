# Builds for 32-bit Windows in the Microsoft C++ ABI with clang and lld; programs run through Wine. Headers and import
# libraries are those that msabi/prepare lays out.
include(${CMAKE_CURRENT_LIST_DIR}/packages.cmake)
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
get_filename_component(source ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
zelk_find_emulator()

# ZELK_MSABI is the folder that msabi/prepare made.
if(NOT ZELK_MSABI)
    if(ZELK_DEPS)
        set(ZELK_MSABI ${ZELK_DEPS}/msabi)
    else()
        execute_process(COMMAND ${source}/msabi/prepare --where OUTPUT_VARIABLE ZELK_MSABI OUTPUT_STRIP_TRAILING_WHITESPACE)
    endif()
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZELK_MSABI)
if(NOT EXISTS ${ZELK_MSABI}/.complete)
    message(FATAL_ERROR "Headers and libraries for the Microsoft C++ ABI are not in ${ZELK_MSABI}. Let "
        "${source}/msabi/prepare ${ZELK_MSABI} put them there (it wants no root), or name another folder by -DZELK_MSABI=...")
endif()
set(root ${ZELK_MSABI}/root/usr)

# The tools, all of one release.
file(STRINGS ${source}/msabi/llvm-release release)
zelk_find_program(ZELK_LLVM_CONFIG llvm-config-${release})
execute_process(COMMAND ${ZELK_LLVM_CONFIG} --bindir OUTPUT_VARIABLE llvm OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_C_COMPILER ${llvm}/clang)
set(CMAKE_CXX_COMPILER ${llvm}/clang++)
set(CMAKE_C_COMPILER_TARGET i686-pc-windows-msvc)
set(CMAKE_CXX_COMPILER_TARGET i686-pc-windows-msvc)
set(CMAKE_RC_COMPILER ${llvm}/llvm-rc)
set(CMAKE_AR ${llvm}/llvm-ar)
set(CMAKE_MT ${llvm}/llvm-mt)
execute_process(COMMAND ${CMAKE_C_COMPILER} -print-resource-dir
    OUTPUT_VARIABLE compiler_resources OUTPUT_STRIP_TRAILING_WHITESPACE)

set(compiler_flags
    -fms-extensions                  # the system's headers are written in that compiler's language
    -fms-compatibility-version=19.38 # the oldest release of it that knows C++20 in full
    -nostdinc                        # the headers are those listed below and no others
    -D_MSVCR_VER=0                   # the C library's headers then declare what msvcrt.dll has
    -D_ACRTIMP= -D_CRTIMP=           # its functions are called, not read through imported pointers
    -DWINE_UNICODE_NATIVE)           # wchar_t is the compiler's own 16-bit type

# The C++ library without what lies in its library file, which does not exist for this target: no run-time of the other
# compiler's, no import marks, no threads, locales or checks, and no request for that file.
set(standard_library_flags
    -D_LIBCPP_NO_VCRUNTIME -D_LIBCPP_DISABLE_VISIBILITY_ANNOTATIONS -D_LIBCPP_HAS_NO_THREADS
    -D_LIBCPP_HAS_NO_LOCALIZATION -D_LIBCPP_NO_AUTO_LINK -D_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_NONE)

# The order matters: each of these finds the next one's header of the same name behind it.
set(headers
    ${compiler_resources}/include              # intrinsics
    ${source}/msabi/include                    # what the system's headers lack
    ${ZELK_MSABI}/include                      # those of them that need a patch
    ${root}/include/wine/wine/msvcrt           # the C library
    ${root}/include/wine/wine/windows)         # the system
set(cxx_headers ${root}/lib/llvm-${release}/include/c++/v1)
list(TRANSFORM headers PREPEND "-isystem ")
list(TRANSFORM cxx_headers PREPEND "-isystem ")

set(link_flags
    -L${ZELK_MSABI}/lib
    -Xlinker /nodefaultlib            # the run-time support is zelk_core::msabi_program's or zelk_core::msabi_module's
    -Xlinker /debug)

list(JOIN compiler_flags " " compiler_flags)
list(JOIN standard_library_flags " " standard_library_flags)
list(JOIN headers " " headers)
list(JOIN link_flags " " link_flags)
set(CMAKE_C_FLAGS_INIT "${compiler_flags} ${headers}")
set(CMAKE_CXX_FLAGS_INIT "${compiler_flags} ${standard_library_flags} ${cxx_headers} ${headers}")
set(CMAKE_RC_FLAGS_INIT "-I ${root}/include/wine/wine/windows")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${link_flags}")
foreach(language C CXX)
    set(CMAKE_${language}_STANDARD_LIBRARIES "-lkernel32 -lmsvcrt -lntdll" CACHE STRING "")
endforeach()
set(CMAKE_MSVC_RUNTIME_LIBRARY "")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # no run-time library to link a program with
