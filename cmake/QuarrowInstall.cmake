# What `cmake --install` lays down, in two components. "runtime": the libraries, the documents, and the tool with its man page
# and completion, on Windows with the run-time libraries of MinGW. "development": the public headers, the CMake package, the
# pkg-config file.
include(CMakePackageConfigHelpers)

# The public headers: those that export something, and those that a public header includes.
function(quarrow_public_headers result)
    file(GLOB_RECURSE all RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
         ${PROJECT_SOURCE_DIR}/zel/*.h ${PROJECT_SOURCE_DIR}/libKernelMode/*.h ${PROJECT_SOURCE_DIR}/pci/*.h
         ${PROJECT_SOURCE_DIR}/libQuarrow/*.h)
    foreach(other windows linux)
        if(NOT other STREQUAL QUARROW_OS)
            list(FILTER all EXCLUDE REGEX "/os/${other}/")
        endif()
    endforeach()
    set(pending "")
    foreach(header ${all})
        file(STRINGS ${PROJECT_SOURCE_DIR}/${header} exports REGEX "^[^#/]*(ZEL|KERNELMODE|PCI|QUARROW)_EXPORT" LIMIT_COUNT 1)
        if(exports)
            list(APPEND pending ${header})
        endif()
    endforeach()
    set(public "")
    while(pending)
        list(POP_FRONT pending header)
        if(header IN_LIST public OR NOT header IN_LIST all)
            continue()
        endif()
        list(APPEND public ${header})
        file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^#include <(zel|libKernelMode|pci|libQuarrow)/")
        foreach(line ${includes})
            string(REGEX REPLACE "^#include <([^>]*)>.*" "\\1" included "${line}")
            list(APPEND pending ${included})
        endforeach()
    endwhile()
    set(${result} ${public} PARENT_SCOPE)
endfunction()

quarrow_public_headers(headers)
foreach(header ${headers})
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder}
            COMPONENT development)
endforeach()
foreach(header zel/zel_export.h libKernelMode/kernelmode_export.h pci/pci_export.h libQuarrow/quarrow_export.h)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_BINARY_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder}
            COMPONENT development)
endforeach()

set_target_properties(quarrow PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(libKernelMode quarrow_pci libQuarrow PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(libKernelMode PROPERTIES EXPORT_NAME KernelMode)
set_target_properties(quarrow_pci PROPERTIES EXPORT_NAME pci)
set_target_properties(libQuarrow PROPERTIES EXPORT_NAME Quarrow)
install(TARGETS zel libKernelMode quarrow_pci libQuarrow EXPORT QuarrowTargets
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
install(TARGETS quarrow RUNTIME COMPONENT runtime)
# MinGW's libraries come with debugging information, many times their own size.
foreach(dll ${QUARROW_RUNTIME_DLLS})
    get_filename_component(name ${dll} NAME)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/stripped)
    execute_process(COMMAND ${CMAKE_STRIP} -o ${PROJECT_BINARY_DIR}/stripped/${name} ${dll} COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${PROJECT_BINARY_DIR}/stripped/${name} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endforeach()
# The licences of what is built in or comes along ask to be handed on; Debian keeps them with the packages.
set(licensed libfmt-dev libspdlog-dev libcli11-dev nlohmann-json3-dev)
if(MINGW)
    list(APPEND licensed gcc-mingw-w64-x86-64-posix-runtime mingw-w64-x86-64-dev)
endif()
foreach(package ${licensed})
    install(FILES /usr/share/doc/${package}/copyright RENAME ${package} OPTIONAL
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quarrow/licenses COMPONENT runtime)
endforeach()
file(GLOB documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md ${PROJECT_SOURCE_DIR}/docs/*.json)
install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quarrow COMPONENT runtime)
if(NOT WIN32)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/quarrow.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/quarrow/quarrow.bash-completion RENAME quarrow
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Quarrow)
install(EXPORT QuarrowTargets NAMESPACE Quarrow:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuarrowConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QuarrowConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuarrowConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuarrowConfig.cmake ${PROJECT_BINARY_DIR}/QuarrowConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT development)

# Found from where the file lies, so that an installed tree can be moved.
set(QUARROW_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
cmake_path(RELATIVE_PATH QUARROW_PC_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
set(QUARROW_PC_LIBS "-lQuarrow -lquarrow_pci -lKernelMode -lzel")
if(WIN32) # the import libraries keep the whole names of their DLLs
    set(QUARROW_PC_LIBS "-llibQuarrow -lquarrow_pci -llibKernelMode -lzel")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/quarrow.pc.in ${PROJECT_BINARY_DIR}/quarrow.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quarrow.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The reference documentation of the public headers: build/<preset>/docs/html.
list(JOIN headers " " headers_for_doxygen)
add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND ${CMAKE_COMMAND} -E env QUARROW_VERSION=${PROJECT_VERSION} QUARROW_DOCS=${PROJECT_BINARY_DIR}/docs
            "QUARROW_HEADERS=${headers_for_doxygen}" doxygen docs/Doxyfile
    COMMENT "Documenting the public headers" WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
