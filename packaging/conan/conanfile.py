"""A Conan 2 recipe of this checkout: conan create packaging/conan --profile:host PROFILE

PROFILE is one for 32-bit Windows: os=Windows, arch=x86, compiler=gcc, with the cross compiler as its executables.
"""
import os
import re

from conan import ConanFile
from conan.errors import ConanException, ConanInvalidConfiguration
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, get, load


class ZelkCore(ConanFile):
    name = "zelk_core"
    description = "Core run-time library of a real-time engine, for 32-bit Windows"
    license = ("MIT", "Zlib", "GPL-2.0-or-later")
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"lzo": [True, False]}
    default_options = {"lzo": True}

    @property
    def _checkout(self):
        return os.path.join(self.recipe_folder, os.pardir, os.pardir)

    def set_version(self):
        text = load(self, os.path.join(self._checkout, "zelk_core/base/version.h"))
        self.version = ".".join(re.search(rf"VERSION_{part} (\d+)", text)[1] for part in ("MAJOR", "MINOR", "PATCH"))

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "host/*", "licenses/*", "msabi/*", "packaging/*",
                        "scripts/*", "zelk_core/*"):
            copy(self, pattern, self._checkout, self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def validate(self):
        if self.settings.os != "Windows" or self.settings.arch != "x86" or self.settings.compiler == "msvc":
            raise ConanInvalidConfiguration("zelk_core is built for 32-bit Windows by GCC or clang")

    def source(self):
        mirror = os.environ.get("ZELK_DEBIAN_MIRROR")
        if not mirror:
            raise ConanException("Set ZELK_DEBIAN_MIRROR to the address of a mirror of Debian.")
        for name, archive in self.conan_data["sources"].items():
            get(self, f"{mirror}/{archive['url']}", sha256=archive["sha256"], strip_root=True,
                destination=os.path.join("third_party", name))

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables.update({
            "ZELK_ZLIB_SOURCE": os.path.join(self.source_folder, "third_party", "zlib"),
            "ZELK_LZO_SOURCE": os.path.join(self.source_folder, "third_party", "lzo2"),
            "ZELK_FAST_FLOAT_SOURCE": os.path.join(self.source_folder, "third_party", "fast-float"),
            "ZELK_CORE_LZO": bool(self.options.lzo),
            "ZELK_CORE_TESTS": False,
            "ZELK_CORE_BENCHMARKS": False,
            "ZELK_CORE_EXAMPLES": False,
        })
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build(target="zelk_package")

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The installed package files say it all: targets, flags, and which build fits the compiler.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs.append(os.path.join("lib", "cmake", "zelk_core"))
