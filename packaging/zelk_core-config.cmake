# Defines zelk_core::zelk_core and zelk_core::host in the compiler's C++ ABI, in the Microsoft ABI also what clang without
# that compiler's run-time needs (zelk_core::msabi_program, zelk_core::msabi_module), and zelk_core_LZO: whether LZO is built
# in.
if("${CMAKE_CXX_COMPILER_ID}" STREQUAL "MSVC" OR "${CMAKE_CXX_SIMULATE_ID}" STREQUAL "MSVC")
    set(zelk_core_ABI msabi)
else()
    set(zelk_core_ABI mingw)
endif()
if(NOT WIN32)
    set(zelk_core_FOUND FALSE)
    set(zelk_core_NOT_FOUND_MESSAGE "zelk_core is for 32-bit Windows, and this project is configured for ${CMAKE_SYSTEM_NAME}.")
elseif(NOT EXISTS "${CMAKE_CURRENT_LIST_DIR}/zelk_core-${zelk_core_ABI}.cmake")
    set(zelk_core_FOUND FALSE)
    set(zelk_core_NOT_FOUND_MESSAGE
        "This prefix has zelk_core for the other C++ ABI only; install the ${zelk_core_ABI} build for ${CMAKE_CXX_COMPILER}.")
else()
    include("${CMAKE_CURRENT_LIST_DIR}/zelk_core-${zelk_core_ABI}.cmake")
    get_target_property(zelk_core_LZO zelk_core::zelk_core ZELK_CORE_LZO)
endif()
