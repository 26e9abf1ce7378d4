# The DLL: named as its users load it, no C++ run-time library, the compiler's own run-time linked in.
set(ZELK_DLL_NAME zelk_core_win32DLL)
configure_file(zelk_core.rc.in zelk_core.rc @ONLY)
add_library(zelk_core SHARED ${portable_sources} ${windows_sources} ${CMAKE_CURRENT_BINARY_DIR}/zelk_core.rc)
add_library(zelk_core::zelk_core ALIAS zelk_core)
target_sources(zelk_core PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${public_headers})
target_compile_definitions(zelk_core PRIVATE ZELK_CORE_BUILD)
target_link_libraries(zelk_core PRIVATE
    $<BUILD_INTERFACE:zelk_dll_flags> "$<BUILD_INTERFACE:${third_party_libraries}>"
    $<BUILD_INTERFACE:ntdll> $<BUILD_INTERFACE:ws2_32> $<BUILD_INTERFACE:iphlpapi>)
target_compile_features(zelk_core INTERFACE cxx_std_20)
target_compile_options(zelk_core INTERFACE "$<$<COMPILE_LANG_AND_ID:CXX,GNU,Clang>:${ZELK_HEADER_FLAGS}>")
set_target_properties(zelk_core PROPERTIES
    OUTPUT_NAME ${ZELK_DLL_NAME}
    PREFIX ""
    LINKER_LANGUAGE C
    # Makes a target that compiles each public header alone; `make test` builds it.
    VERIFY_INTERFACE_HEADER_SETS ON)
if(ZELK_MS_ABI)
    target_link_libraries(zelk_core PRIVATE $<BUILD_INTERFACE:zelk_msabi_dll>)
    # The import library beside the DLL.
    set_target_properties(zelk_core PROPERTIES ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    # A path with folders would stand in the debug database.
    target_link_options(zelk_core PRIVATE
        LINKER:/map:$<PATH:RELATIVE_PATH,$<TARGET_FILE:zelk_core>,${CMAKE_BINARY_DIR}>.map)
    set(symbols $<TARGET_PDB_FILE:zelk_core>)
else()
    # CMake would add the C++ run-time libraries to a C link of C++ objects, and the shared libgcc with them.
    set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")
    # Readers of the newer form are few: the system's debug-help library in Wine knows this one only.
    foreach(part zelk_core ${compression_libraries})
        target_compile_options(${part} PRIVATE -gdwarf-4)
    endforeach()
    target_link_options(zelk_core PRIVATE
        -static-libgcc -Wl,-Map=$<TARGET_FILE:zelk_core>.map -Wl,--exclude-all-symbols -Wl,--no-insert-timestamp -Wl,--no-undefined)

    # Symbols go beside the DLL, and the DLL says where they are; a debugger finds them by itself. Without a fixed date,
    # objcopy would stamp both files with today's.
    set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
    add_custom_command(TARGET zelk_core POST_BUILD
        COMMAND ${objcopy} --only-keep-debug $<TARGET_FILE:zelk_core> $<TARGET_FILE:zelk_core>.debug
        COMMAND ${CMAKE_COMMAND} -D MAP=$<TARGET_FILE:zelk_core>.map -P ${CMAKE_CURRENT_SOURCE_DIR}/map.cmake
        COMMAND ${objcopy} --strip-debug --add-gnu-debuglink=$<TARGET_FILE:zelk_core>.debug $<TARGET_FILE:zelk_core>
        VERBATIM)
    set(symbols $<TARGET_FILE:zelk_core>.debug)
endif()

set_target_properties(zelk_core PROPERTIES
    ZELK_SYMBOLS "${symbols};$<TARGET_FILE:zelk_core>.map" # for the installation
    ADDITIONAL_CLEAN_FILES $<TARGET_FILE:zelk_core>.map)

# What scripts need to know of the build, for them to source. `tools` is what the names of the tools for object files begin
# with.
if(ZELK_MS_ABI)
    string(REGEX REPLACE "ar$" "" tools ${CMAKE_AR})
else()
    string(REGEX REPLACE "objdump(\\.exe)?$" "" tools ${CMAKE_OBJDUMP})
endif()
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/facts CONTENT "version=${ZELK_VERSION_TEXT}
dll=$<TARGET_FILE_NAME:zelk_core>
symbols=$<PATH:GET_FILENAME,${symbols}>
import_library=$<TARGET_LINKER_FILE_NAME:zelk_core>
compiler=${CMAKE_CXX_COMPILER}
tools=${tools}
")

# The umbrella header includes every public header and nothing else.
file(STRINGS zelk_core.h umbrella REGEX "^#include")
list(TRANSFORM umbrella REPLACE "#include <zelk_core/(.*)>" "\\1")
set(expected ${public_headers})
list(REMOVE_ITEM expected zelk_core.h)
if(NOT umbrella STREQUAL expected)
    message(FATAL_ERROR "zelk_core.h must include these and only these, in this order: ${expected}")
endif()
