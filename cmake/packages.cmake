# Where installed packages are: asked of programs that know, or searched for, so that no path belongs to one release of one
# system. scripts/packages lists the packages, scripts/setup installs them.
include_guard(GLOBAL)

# zelk_require(VARIABLE WHAT): ends the configuration where VARIABLE, the result of a search for WHAT, says that it failed.
function(zelk_require variable what)
    if(NOT ${variable})
        message(FATAL_ERROR "Not found: ${what}. In a checkout, scripts/setup installs what is missing.")
    endif()
endfunction()

# zelk_find_program(VARIABLE NAMES...): the first of these that there is.
function(zelk_find_program variable)
    find_program(${variable} NAMES ${ARGN})
    list(JOIN ARGN " or " names)
    zelk_require(${variable} "the program ${names}")
endfunction()

# zelk_find_headers(VARIABLE HEADER FOLDERS...): the first of these folders that has HEADER. They are folders of the build
# machine, also where programs for another are built.
function(zelk_find_headers variable header)
    find_path(${variable} ${header} PATHS ${ARGN} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    list(JOIN ARGN " or " folders)
    zelk_require(${variable} "${header} in ${folders}")
endfunction()

# zelk_find_emulator(): lets CMake run the target's programs, by the checkout's own Wine prefix where this is a checkout.
macro(zelk_find_emulator)
    find_program(ZELK_EMULATOR NAMES wine-run wine HINTS ${CMAKE_CURRENT_LIST_DIR}/../scripts)
    if(ZELK_EMULATOR)
        set(CMAKE_CROSSCOMPILING_EMULATOR ${ZELK_EMULATOR})
    endif()
endmacro()
