# Builds for 32-bit Windows in the Microsoft C++ ABI with Debian's clang 19 and lld; programs run through Wine. Headers and
# import libraries are those that msabi/prepare lays out.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(llvm /usr/lib/llvm-19)
set(CMAKE_C_COMPILER ${llvm}/bin/clang)
set(CMAKE_CXX_COMPILER ${llvm}/bin/clang++)
set(CMAKE_C_COMPILER_TARGET i686-pc-windows-msvc)
set(CMAKE_CXX_COMPILER_TARGET i686-pc-windows-msvc)
set(CMAKE_RC_COMPILER ${llvm}/bin/llvm-rc)
set(CMAKE_AR ${llvm}/bin/llvm-ar)
set(CMAKE_MT ${llvm}/bin/llvm-mt)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # no run-time library to link a program with
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZELK_DEPS)

get_filename_component(source ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
if(NOT ZELK_DEPS)
    set(ZELK_DEPS ${source}/build/deps)
endif()
set(ZELK_MSABI ${ZELK_DEPS}/msabi) # what msabi/prepare made
set(CMAKE_CROSSCOMPILING_EMULATOR ${source}/scripts/wine-run)
set(root ${ZELK_MSABI}/root/usr)
file(GLOB compiler_headers ${llvm}/lib/clang/*/include)
# The order matters: each of these finds the next one's header of the same name behind it.
set(headers "-isystem ${compiler_headers} -isystem ${source}/msabi/include -isystem ${ZELK_MSABI}/include \
-isystem ${root}/include/wine/wine/msvcrt -isystem ${root}/include/wine/wine/windows")
set(flags "-fms-extensions -fms-compatibility-version=19.38 -nostdinc -D_MSVCR_VER=0 -D_ACRTIMP= -D_CRTIMP= -DWINE_UNICODE_NATIVE")
# The standard library without what lies in its library file, which does not exist for this target.
set(standard_library "-D_LIBCPP_NO_VCRUNTIME -D_LIBCPP_DISABLE_VISIBILITY_ANNOTATIONS -D_LIBCPP_HAS_NO_THREADS \
-D_LIBCPP_HAS_NO_LOCALIZATION -D_LIBCPP_NO_AUTO_LINK -D_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_NONE \
-isystem ${root}/lib/llvm-19/include/c++/v1")
set(CMAKE_C_FLAGS_INIT "${flags} ${headers}")
set(CMAKE_CXX_FLAGS_INIT "${flags} ${standard_library} ${headers}")
set(CMAKE_RC_FLAGS_INIT "-I ${root}/include/wine/wine/windows")
# No path of this machine may reach the debug database: libraries are found through a link in the build folder.
set(link_flags "-Llib -Xlinker /nodefaultlib -Xlinker /debug -Xlinker /Brepro -Xlinker /pdbaltpath:%_PDB% -Xlinker /pdbsourcepath:build -Xlinker /WX")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
foreach(language C CXX)
    set(CMAKE_${language}_STANDARD_LIBRARIES "-lkernel32 -lmsvcrt -lntdll" CACHE STRING "")
endforeach()
set(CMAKE_MSVC_RUNTIME_LIBRARY "")
