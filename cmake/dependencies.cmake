# Third-party code, none of it in this repository: Debian packages and the unpacked sources of scripts/setup.
find_package(Threads)

if(NOT ZELK_FUZZ)
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

add_library(zelk_xxhash_reference INTERFACE)
target_include_directories(zelk_xxhash_reference SYSTEM INTERFACE ${ZELK_DEPS}/xxhash)

# Through a folder of its own: beside it lie the build machine's headers, which are none of the target's.
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/glm)
file(CREATE_LINK /usr/include/glm ${PROJECT_BINARY_DIR}/glm/glm SYMBOLIC)
add_library(zelk_glm INTERFACE)
target_include_directories(zelk_glm SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/glm)

find_package(ZLIB REQUIRED)

if(WIN32)
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
