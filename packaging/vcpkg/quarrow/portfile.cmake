# Builds the checkout that this port lies in, not an archive of some release.
get_filename_component(SOURCE_PATH "${CURRENT_PORT_DIR}/../../.." ABSOLUTE)
vcpkg_check_features(OUT_FEATURE_OPTIONS options FEATURES
    c QUARROW_BUILD_C
    tool QUARROW_BUILD_TOOL)
# A library that is no dependency must not be used because another port happens to have installed it.
if(NOT "compression" IN_LIST FEATURES)
    list(APPEND options -DQUARROW_ZLIB_HEADERS=OFF -DQUARROW_LIBLZMA_HEADERS=OFF -DQUARROW_LIBBZ2_HEADERS=OFF)
endif()
if(NOT "xml" IN_LIST FEATURES)
    list(APPEND options -DQUARROW_PUGIXML_HEADERS=OFF)
endif()
if(NOT ("json" IN_LIST FEATURES OR "c" IN_LIST FEATURES OR "tool" IN_LIST FEATURES))
    list(APPEND options -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON)
endif()
vcpkg_cmake_configure(SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS ${options} -DQUARROW_BUILD_TESTS=OFF -DQUARROW_WARNINGS=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Quarrow CONFIG_PATH lib/cmake/Quarrow)
vcpkg_fixup_pkgconfig()
if("tool" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES quarrow AUTO_CLEAN)
endif()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share"
     "${CURRENT_PACKAGES_DIR}/share/doc")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/README.md")
