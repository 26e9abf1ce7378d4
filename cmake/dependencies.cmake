# Third-party code, none of it in this repository: Debian packages and the unpacked sources of scripts/setup.
find_package(Threads)

if(NOT ZELK_FUZZ AND NOT ZELK_MS_ABI)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

add_library(zelk_xxhash_reference INTERFACE)
target_include_directories(zelk_xxhash_reference SYSTEM INTERFACE ${ZELK_DEPS}/xxhash)

if(NOT ZELK_MS_ABI)
    find_package(ZLIB REQUIRED)
endif()

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
