# The installed package. Both C++ ABIs may share a prefix: headers, documentation and the package's front are the same files,
# and what was compiled lies in folders of its own for the one that the system's tools do not look for.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
if(ZELK_MS_ABI)
    set(abi msabi)
    set(bin ${CMAKE_INSTALL_BINDIR}/msabi)
    set(lib ${CMAKE_INSTALL_LIBDIR}/msabi)
else()
    set(abi mingw)
    set(bin ${CMAKE_INSTALL_BINDIR})
    set(lib ${CMAKE_INSTALL_LIBDIR})
endif()
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/zelk_core)
set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(output ${PROJECT_BINARY_DIR}/package)

set(targets zelk_core zelk_host)
if(ZELK_MS_ABI)
    list(APPEND targets zelk_msabi_module zelk_msabi_program)
endif()
add_custom_target(zelk_package) # all that is installed
add_dependencies(zelk_package ${targets})
set_target_properties(zelk_core PROPERTIES ZELK_CORE_LZO ${ZELK_CORE_LZO} EXPORT_PROPERTIES ZELK_CORE_LZO)
install(TARGETS ${targets} EXPORT zelk_core-${abi}
    RUNTIME DESTINATION ${bin} ARCHIVE DESTINATION ${lib} FILE_SET HEADERS
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}) # for users' CMake before 3.23
get_target_property(symbols zelk_core ZELK_SYMBOLS)
install(FILES ${symbols} DESTINATION ${bin})
install(EXPORT zelk_core-${abi} NAMESPACE zelk_core:: DESTINATION ${package})
write_basic_package_version_file(${output}/zelk_core-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${packaging}/zelk_core-config.cmake ${output}/zelk_core-config-version.cmake DESTINATION ${package})

# Users of the other ABI's compilers have no pkg-config.
if(NOT ZELK_MS_ABI)
    set(slash /)
    cmake_path(RELATIVE_PATH slash BASE_DIRECTORY /${CMAKE_INSTALL_LIBDIR}/pkgconfig OUTPUT_VARIABLE to_prefix)
    get_target_property(dll_name zelk_core OUTPUT_NAME)
    list(JOIN ZELK_HEADER_FLAGS " " header_flags)
    foreach(name zelk_core zelk_core-host)
        configure_file(${packaging}/${name}.pc.in ${output}/${name}.pc @ONLY)
        install(FILES ${output}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    endforeach()
endif()

# Toolchain files, and what clang needs for the Microsoft C++ ABI on a machine that has no compiler of that ABI's own.
set(tools ${CMAKE_INSTALL_DATADIR}/zelk_core)
install(FILES cmake/mingw-i686.cmake cmake/msabi-i686.cmake cmake/packages.cmake DESTINATION ${tools}/cmake)
install(DIRECTORY msabi/include DESTINATION ${tools}/msabi)
install(FILES msabi/llvm-release DESTINATION ${tools}/msabi)
install(PROGRAMS msabi/prepare DESTINATION ${tools}/msabi)

# Our own licence and those of what the installed files were made from.
set(licences fast_float zlib)
if(ZELK_CORE_LZO)
    list(APPEND licences lzo)
endif()
if(ZELK_MS_ABI)
    list(APPEND licences libc++)
else()
    list(APPEND licences gcc-runtime mingw-w64-runtime)
endif()
list(TRANSFORM licences REPLACE "(.+)" "licenses/\\1.txt")
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${licences} DESTINATION ${CMAKE_INSTALL_DOCDIR}/licenses)
