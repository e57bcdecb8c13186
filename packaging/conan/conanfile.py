"""Builds the checkout that this recipe lies in: conan create packaging/conan"""
import os
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.cmake import CMake, cmake_layout
from conan.tools.files import copy, load


class QuarrowConan(ConanFile):
    name = "quarrow"
    description = "Everything that can be learned about the processors of an x86-64 machine"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    # c: the C interface, libQuarrow/c/quarrow.h. compression, json, xml: recordings that are compressed, or in JSON or XML.
    options = {"shared": [True, False], "c": [True, False], "compression": [True, False], "json": [True, False],
               "xml": [True, False]}
    default_options = {"shared": True, "c": True, "compression": True, "json": True, "xml": True,
                       "boost/*:header_only": True}
    generators = "CMakeDeps", "CMakeToolchain"

    def _checkout(self):
        return os.path.join(self.recipe_folder, "..", "..")

    def set_version(self):
        project = load(self, os.path.join(self._checkout(), "CMakeLists.txt"))
        self.version = re.search(r"project\(Quarrow VERSION ([0-9.]+)", project).group(1)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "cmake/*", "docs/*", "packaging/debian/*", "packaging/windows/*", "CHANGELOG.md",
                        "zel/*", "libKernelMode/*", "pci/*", "libQuarrow/*", "bindings/*", "tools/*"):
            copy(self, pattern, self._checkout(), self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def validate(self):
        if self.settings.arch != "x86_64" or self.settings.os not in ("Linux", "Windows"):
            raise ConanInvalidConfiguration("Quarrow is for x86-64, Linux and Windows, only")

    def requirements(self):
        self.requires("boost/[>=1.74]", transitive_headers=True)
        self.requires("fmt/[>=9]")
        self.requires("spdlog/[>=1.10]")
        if self.options.c or self.options.json:
            self.requires("nlohmann_json/[>=3.10]")
        if self.options.compression:
            self.requires("bzip2/[>=1.0.8]")
            self.requires("xz_utils/[>=5.2]")
            self.requires("zlib/[>=1.2.11]")
        if self.options.xml:
            self.requires("pugixml/[>=1.11]")

    def build(self):
        variables = {"QUARROW_BUILD_TOOL": False, "QUARROW_BUILD_TESTS": False, "QUARROW_WARNINGS": False,
                     "QUARROW_BUILD_C": bool(self.options.c)}
        # What is no requirement must not be used because the system has it.
        if not self.options.compression:
            variables.update(QUARROW_ZLIB_HEADERS="OFF", QUARROW_LIBLZMA_HEADERS="OFF", QUARROW_LIBBZ2_HEADERS="OFF")
        if not self.options.xml:
            variables["QUARROW_PUGIXML_HEADERS"] = "OFF"
        if not (self.options.c or self.options.json):
            variables["CMAKE_DISABLE_FIND_PACKAGE_nlohmann_json"] = True
        cmake = CMake(self)
        cmake.configure(variables)
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The package's own CMake files, so that users link Quarrow::Quarrow or Quarrow::C however it came to them.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "Quarrow")]
