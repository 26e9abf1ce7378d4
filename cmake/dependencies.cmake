# Third-party code, none of it in this repository: Debian packages and the unpacked sources of scripts/setup.
include(cmake/packages.cmake)
find_package(Threads)

if(NOT ZELK_FUZZ AND NOT ZELK_PROOF AND NOT ZELK_MS_ABI)
    set(INSTALL_GTEST OFF)
    zelk_find_headers(ZELK_GOOGLETEST googlemock/CMakeLists.txt /usr/src/googletest)
    add_subdirectory(${ZELK_GOOGLETEST} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

add_library(zelk_xxhash_reference INTERFACE)
target_include_directories(zelk_xxhash_reference SYSTEM INTERFACE ${ZELK_DEPS}/xxhash)

# The compression room's two libraries, with our own flags, and only what it calls. Of zlib that is a build without file
# access and without allocator (Z_SOLO), which would copy memory byte by byte if it were not told better.
# Their sources are reached through a link in the build folder: objects' names, which reach the debug database, are
# made of paths.
file(CREATE_LINK ${ZELK_DEPS} ${PROJECT_BINARY_DIR}/deps SYMBOLIC)
set(zlib_sources adler32 crc32 deflate inffast inflate inftrees trees zutil)
list(TRANSFORM zlib_sources PREPEND ${PROJECT_BINARY_DIR}/deps/zlib/)
list(TRANSFORM zlib_sources APPEND .c)
add_library(zelk_zlib STATIC EXCLUDE_FROM_ALL ${zlib_sources})
target_include_directories(zelk_zlib SYSTEM PUBLIC ${ZELK_DEPS}/zlib)
target_compile_definitions(zelk_zlib
    PUBLIC Z_SOLO
    PRIVATE HAVE_MEMCPY memcpy=__builtin_memcpy memcmp=__builtin_memcmp memset=__builtin_memset)

set(lzo_sources lzo1x_1 lzo1x_9x lzo1x_d1 lzo1x_d2 lzo_init)
list(TRANSFORM lzo_sources PREPEND ${PROJECT_BINARY_DIR}/deps/lzo2/src/)
list(TRANSFORM lzo_sources APPEND .c)
add_library(zelk_lzo STATIC EXCLUDE_FROM_ALL ${lzo_sources})
target_include_directories(zelk_lzo SYSTEM PUBLIC ${ZELK_DEPS}/lzo2/include PRIVATE ${ZELK_DEPS}/lzo2/src)

foreach(library zelk_zlib zelk_lzo)
    target_compile_options(${library} PRIVATE -w -fvisibility=hidden)
    if(WIN32 AND NOT ZELK_MS_ABI)
        target_compile_options(${library} PRIVATE -mincoming-stack-boundary=2)
    endif()
    if(ZELK_SANITIZE)
        # Their unaligned reads and null sums are deliberate; AddressSanitizer stays.
        target_compile_options(${library} PRIVATE -fno-sanitize=undefined)
    endif()
    if(ZELK_FUZZ)
        target_compile_options(${library} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endforeach()

# Decimal text to floating-point numbers. Through a folder of its own, as the next.
zelk_find_headers(ZELK_FAST_FLOAT fast_float/fast_float.h /usr/include)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/fast_float)
file(CREATE_LINK ${ZELK_FAST_FLOAT}/fast_float ${PROJECT_BINARY_DIR}/fast_float/fast_float SYMBOLIC)
add_library(zelk_fast_float INTERFACE)
target_include_directories(zelk_fast_float SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/fast_float)

# Through a folder of its own: beside it lie the build machine's headers, which are none of the target's.
zelk_find_headers(ZELK_GLM glm/glm.hpp /usr/include)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/glm)
file(CREATE_LINK ${ZELK_GLM}/glm ${PROJECT_BINARY_DIR}/glm/glm SYMBOLIC)
add_library(zelk_glm INTERFACE)
target_include_directories(zelk_glm SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/glm)

if(WIN32 AND NOT ZELK_MS_ABI)
    set(BENCHMARK_ENABLE_TESTING OFF)
    set(BENCHMARK_ENABLE_INSTALL OFF)
    set(BENCHMARK_ENABLE_WERROR OFF)
    # What its configuration would find out by running programs, which would need Wine before anything is built.
    foreach(feature STD_REGEX STEADY_CLOCK)
        set(HAVE_${feature} 1)
        set(RUN_HAVE_${feature} 1)
        set(COMPILE_HAVE_${feature} 1)
    endforeach()
    add_subdirectory(${ZELK_DEPS}/benchmark ${PROJECT_BINARY_DIR}/benchmark EXCLUDE_FROM_ALL SYSTEM)
    target_compile_definitions(benchmark PRIVATE NDEBUG) # else it warns that its own timings suffer
endif()
