# Third-party code, none of it in this repository: what the library itself is built from, then Debian packages and
# unpacked sources that serve tests and benchmarks.
include(cmake/packages.cmake)

# zelk_source(LINK NAME FILE SOURCE): makes LINK in the build folder lead to SOURCE, or, where that is empty, to the unpacked
# sources NAME of cmake/sources.txt, which are fetched if need be. They have FILE. By way of the link, objects' names, which
# are made of paths and reach the debug database, are the same everywhere.
function(zelk_source link name file source)
    if(NOT source)
        set(source ${ZELK_DEPS}/${name})
        execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/fetch ${ZELK_DEPS} ${name} RESULT_VARIABLE failed)
        if(failed)
            message(FATAL_ERROR "The sources of ${name} could not be fetched. Name the folder where they are unpacked, by "
                "-DZELK_ZLIB_SOURCE=..., -DZELK_LZO_SOURCE=... or -DZELK_FAST_FLOAT_SOURCE=...")
        endif()
    elseif(NOT EXISTS ${source}/${file})
        message(FATAL_ERROR "${source} has no ${file}: these are not the sources of ${name}")
    endif()
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/third_party)
    file(CREATE_LINK ${source} ${PROJECT_BINARY_DIR}/third_party/${link} SYMBOLIC)
endfunction()
set(third_party ${PROJECT_BINARY_DIR}/third_party)

# The compression room's two libraries, with our own flags, and only what it calls. Of zlib that is a build without file
# access and without allocator (Z_SOLO), which would copy memory byte by byte, and check sums so, if it were not told
# better.
zelk_source(zlib zlib zlib.h "${ZELK_ZLIB_SOURCE}")
set(zlib_sources adler32 crc32 deflate inffast inflate inftrees trees zutil)
list(TRANSFORM zlib_sources PREPEND ${third_party}/zlib/)
list(TRANSFORM zlib_sources APPEND .c)
add_library(zelk_zlib STATIC EXCLUDE_FROM_ALL ${zlib_sources})
target_include_directories(zelk_zlib SYSTEM PUBLIC ${third_party}/zlib)
target_compile_definitions(zelk_zlib
    PUBLIC Z_SOLO Z_U4=unsigned
    PRIVATE HAVE_MEMCPY memcpy=__builtin_memcpy memcmp=__builtin_memcmp memset=__builtin_memset)

set(compression_libraries zelk_zlib)
if(ZELK_CORE_LZO)
    zelk_source(lzo lzo2 include/lzo/lzo1x.h "${ZELK_LZO_SOURCE}")
    set(lzo_sources lzo1x_1 lzo1x_9x lzo1x_d1 lzo1x_d2 lzo_init)
    list(TRANSFORM lzo_sources PREPEND ${third_party}/lzo/src/)
    list(TRANSFORM lzo_sources APPEND .c)
    add_library(zelk_lzo STATIC EXCLUDE_FROM_ALL ${lzo_sources})
    target_include_directories(zelk_lzo SYSTEM PUBLIC ${third_party}/lzo/include PRIVATE ${third_party}/lzo/src)
    list(APPEND compression_libraries zelk_lzo)
endif()

# Decimal text to floating-point numbers: headers only.
zelk_source(fast_float fast-float include/fast_float/fast_float.h "${ZELK_FAST_FLOAT_SOURCE}")
add_library(zelk_fast_float INTERFACE)
target_include_directories(zelk_fast_float SYSTEM INTERFACE ${third_party}/fast_float/include)
set(third_party_libraries ${compression_libraries} zelk_fast_float)

# As its own build has it: its checksum takes a third of the time then, and inflating five sixths.
target_compile_options(zelk_zlib PRIVATE -O3)

foreach(library ${compression_libraries})
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

if(ZELK_CORE_TESTS AND NOT ZELK_FUZZ AND NOT ZELK_PROOF AND NOT ZELK_MS_ABI)
    find_package(Threads)
    set(INSTALL_GTEST OFF)
    zelk_find_headers(ZELK_GOOGLETEST googlemock/CMakeLists.txt /usr/src/googletest)
    add_subdirectory(${ZELK_GOOGLETEST} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

add_library(zelk_xxhash_reference INTERFACE)
target_include_directories(zelk_xxhash_reference SYSTEM INTERFACE ${ZELK_DEPS}/xxhash)

if(ZELK_CORE_BENCHMARKS AND WIN32 AND NOT ZELK_MS_ABI)
    # Through folders of their own: beside them lie the build machine's headers, which are none of the target's.
    foreach(peer glm/glm.hpp cglm/cglm.h)
        get_filename_component(name ${peer} DIRECTORY)
        string(TOUPPER ZELK_${name} found)
        zelk_find_headers(${found} ${peer} /usr/include)
        file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/${name})
        file(CREATE_LINK ${${found}}/${name} ${PROJECT_BINARY_DIR}/${name}/${name} SYMBOLIC)
        add_library(zelk_${name} INTERFACE)
        target_include_directories(zelk_${name} SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/${name})
    endforeach()
    zelk_find_headers(ZELK_BULLET LinearMath/btAabbUtil2.h /usr/include/bullet)
    add_library(zelk_bullet INTERFACE)
    target_include_directories(zelk_bullet SYSTEM INTERFACE ${ZELK_BULLET})

    # Peers of the benchmarks, with the optimization of their own builds.
    zelk_source(xxhash xxhash xxhash.c "")
    add_library(zelk_xxhash STATIC EXCLUDE_FROM_ALL ${third_party}/xxhash/xxhash.c)
    target_link_libraries(zelk_xxhash PUBLIC zelk_xxhash_reference)
    target_compile_options(zelk_xxhash PRIVATE -w -O3)
    zelk_source(libdeflate libdeflate libdeflate.h "")
    set(libdeflate_sources crc32 utils x86/cpu_features)
    list(TRANSFORM libdeflate_sources PREPEND ${third_party}/libdeflate/lib/)
    list(TRANSFORM libdeflate_sources APPEND .c)
    add_library(zelk_libdeflate STATIC EXCLUDE_FROM_ALL ${libdeflate_sources})
    target_include_directories(zelk_libdeflate SYSTEM PUBLIC ${third_party}/libdeflate)
    target_compile_options(zelk_libdeflate PRIVATE -w -O2 -fomit-frame-pointer)

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
