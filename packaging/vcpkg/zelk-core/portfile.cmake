# An overlay port of this checkout:
#   vcpkg install zelk-core --triplet x86-mingw-dynamic --overlay-ports=CHECKOUT/packaging/vcpkg
# A port that is to stand in a registry gets SOURCE_PATH from vcpkg_from_git() instead, with the address and the commit that
# its publisher has.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

# The archives of cmake/sources.txt; here by their SHA-512. They come from the mirror of Debian that the environment names.
if(NOT DEFINED ENV{ZELK_DEBIAN_MIRROR})
    message(FATAL_ERROR "Set ZELK_DEBIAN_MIRROR to the address of a mirror of Debian.")
endif()
set(archives $ENV{ZELK_DEBIAN_MIRROR}/pool/main)
vcpkg_download_distfile(zlib URLS ${archives}/z/zlib/zlib_1.2.13.dfsg.orig.tar.bz2 FILENAME zlib_1.2.13.dfsg.orig.tar.bz2
    SHA512 266ea72465ad1f0b63e42f8275c650615829929f2ff19064144c5bb942acd31cd8581ce45781c438fce949c6d9f3fa385efa59f754761441107ca1144fb56802)
vcpkg_extract_source_archive(zlib_source ARCHIVE "${zlib}")
vcpkg_download_distfile(fast_float URLS ${archives}/f/fast-float/fast-float_3.9.0.orig.tar.gz
    FILENAME fast-float_3.9.0.orig.tar.gz
    SHA512 ed3853364320e3cda7491dea835c058fb69e97a0eefefce0316ab882975826bca19a71c6884b20e095b980f3a49e70e9725b16a181d73703f4d9a5b9ee56876e)
vcpkg_extract_source_archive(fast_float_source ARCHIVE "${fast_float}")
set(options -DZELK_ZLIB_SOURCE=${zlib_source} -DZELK_FAST_FLOAT_SOURCE=${fast_float_source})
if(lzo IN_LIST FEATURES)
    vcpkg_download_distfile(lzo URLS ${archives}/l/lzo2/lzo2_2.10.orig.tar.gz FILENAME lzo2_2.10.orig.tar.gz
        SHA512 a3dae5e4a6b93b1f5bf7435e8ab114a9be57252e9efc5dd444947d7a2d031b0819f34bcaeb35f60b5629a01b1238d738735a64db8f672be9690d3c80094511a4)
    vcpkg_extract_source_archive(lzo_source ARCHIVE "${lzo}")
    list(APPEND options -DZELK_LZO_SOURCE=${lzo_source})
else()
    list(APPEND options -DZELK_CORE_LZO=OFF)
endif()

vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}" OPTIONS ${options}
    -DZELK_CORE_TESTS=OFF -DZELK_CORE_BENCHMARKS=OFF -DZELK_CORE_EXAMPLES=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME zelk_core CONFIG_PATH lib/cmake/zelk_core)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(GLOB licences "${CURRENT_PACKAGES_DIR}/share/doc/zelk_core/licenses/*")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE" ${licences})
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/share/doc")
