# Flags of everything built here: zelk_flags for all of our own code, zelk_dll_flags for what goes into the DLL.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O2 -g")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g")
if(PROJECT_IS_TOP_LEVEL OR NOT CMAKE_RUNTIME_OUTPUT_DIRECTORY)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endif()

# Whether this is the Microsoft C++ ABI; the other is that of GCC for Windows and of native builds.
string(COMPARE EQUAL "${CMAKE_CXX_SIMULATE_ID}" MSVC ZELK_MS_ABI)

# For third-party code too: sanitizers want the whole program, and ratios want equal tuning. Tuning for old
# processors made some loops 2 to 3.5 times slower on current ones.
add_compile_options(-msse2 -mfpmath=sse -mtune=generic)
# Build folders must not show in the output, so that two checkouts give the same bits.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build
    -ffile-prefix-map=${ZELK_DEPS}=deps) # last, as the sources can lie within
if(ZELK_MS_ABI)
    # There are no tables for unwinding: frame pointers are what call stacks are captured by.
    add_compile_options(-fno-omit-frame-pointer)
    # The last one: no time of day in object files, and so in the libraries that are installed.
    add_compile_options(-fdebug-compilation-dir=. -gno-codeview-command-line -mno-incremental-linker-compatible)
    # Nor in the debug database: not its own name's, not the objects', and the libraries are reached through a link in the
    # build folder (msabi/CMakeLists.txt). Without a date equal sources give equal bits.
    add_link_options(LINKER:/pdbaltpath:%_PDB% LINKER:/pdbsourcepath:build LINKER:/Brepro LINKER:/WX)
    if(PROJECT_IS_TOP_LEVEL)
        foreach(kind EXE SHARED)
            string(REPLACE "-L${ZELK_MSABI}/lib" -Llib CMAKE_${kind}_LINKER_FLAGS "${CMAKE_${kind}_LINKER_FLAGS}")
        endforeach()
    endif()
endif()
if(ZELK_SANITIZE)
    # The check of virtual calls reads type information, which the library has none of.
    add_compile_options(-fsanitize=${ZELK_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ZELK_SANITIZE})
endif()

# What the headers need, of users' compilers too: SIMD types, and floating point with the library's own bits. The platform's
# malloc aligns to 8 bytes, where GCC 12 believes in 16: containers of SIMD vectors would not be aligned. Clang knows.
set(ZELK_HEADER_FLAGS -msse2 -mfpmath=sse -ffp-contract=off -faligned-new=8)

add_library(zelk_flags INTERFACE)
target_include_directories(zelk_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zelk_flags INTERFACE
    "$<$<COMPILE_LANGUAGE:CXX>:${ZELK_HEADER_FLAGS}>"
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual -Wundef
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wno-format-nonliteral -Wimplicit-fallthrough
    -Wmissing-declarations
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
    $<$<BOOL:${ZELK_WERROR}>:-Werror>)
if(ZELK_CHECKS)
    target_compile_definitions(zelk_flags INTERFACE ZELK_CHECKS)
endif()
if(WIN32)
    target_compile_definitions(zelk_flags INTERFACE _WIN32_WINNT=0x0601 WINVER=0x0601 NTDDI_VERSION=0x06010000
        WIN32_LEAN_AND_MEAN NOMINMAX)
    if(NOT ZELK_MS_ABI)
        # 32-bit Windows promises callers' stacks aligned to 4 bytes only; SSE code needs 16. Clang knows. And GCC 12 counts
        # on registers that its own copy of an inline function keeps, where the linker may take another file's copy.
        target_compile_options(zelk_flags INTERFACE -mincoming-stack-boundary=2 $<$<CXX_COMPILER_ID:GNU>:-fno-ipa-ra>)
    endif()
else()
    target_compile_definitions(zelk_flags INTERFACE ZELK_CORE_STATIC)
endif()
if(ZELK_COVERAGE)
    target_compile_options(zelk_flags INTERFACE -O0 --coverage -Dalways_inline=unused)
    add_link_options(--coverage)
endif()

add_library(zelk_dll_flags INTERFACE)
target_link_libraries(zelk_dll_flags INTERFACE zelk_flags)
# Layouts of classes with virtual functions are asserted too.
target_compile_options(zelk_dll_flags INTERFACE -Wno-invalid-offsetof
    -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-math-errno -fvisibility=hidden)
