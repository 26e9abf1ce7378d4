# The DLL: named as its users load it, no C++ run-time library, the compiler's own run-time linked in.
add_library(zelk_core SHARED ${portable_sources} ${windows_sources} zelk_core.rc)
add_library(zelk_core::zelk_core ALIAS zelk_core)
target_compile_definitions(zelk_core PRIVATE ZELK_CORE_BUILD)
# The static libgcc comes before the shared one that CMake appends for C++ objects, so that the latter is never needed.
target_link_libraries(zelk_core PRIVATE zelk_dll_flags psapi gcc)
target_include_directories(zelk_core INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
target_compile_features(zelk_core INTERFACE cxx_std_20)
set_target_properties(zelk_core PROPERTIES
    OUTPUT_NAME zelk_core_win32DLL
    PREFIX ""
    LINKER_LANGUAGE C)
target_link_options(zelk_core PRIVATE
    -static-libgcc -Wl,--exclude-all-symbols -Wl,--no-insert-timestamp -Wl,--no-undefined)

# Symbols go beside the DLL, and the DLL says where they are; a debugger finds them by itself.
add_custom_command(TARGET zelk_core POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:zelk_core> $<TARGET_FILE:zelk_core>.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-debug --add-gnu-debuglink=$<TARGET_FILE:zelk_core>.debug $<TARGET_FILE:zelk_core>
    VERBATIM)
