# What `cmake --install` lays down, in three components. "libraries": those, on Windows with the run-time libraries of MinGW.
# "tool": it, the documents, the man page and the completions. "development": the public headers, the CMake package, the
# pkg-config file and the examples. On Linux a fourth, "static", which is not installed with the others: the tool that needs no
# library at all.
include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY QUARROW_LIBRARIES)
get_property(headers GLOBAL PROPERTY QUARROW_PUBLIC_HEADERS)
get_property(export_headers GLOBAL PROPERTY QUARROW_EXPORT_HEADERS)
foreach(header ${headers} ${export_headers})
    set(root ${PROJECT_SOURCE_DIR})
    if(header IN_LIST export_headers)
        set(root ${PROJECT_BINARY_DIR})
    endif()
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${root}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT development)
endforeach()

set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS ${libraries} EXPORT QuarrowTargets
        RUNTIME COMPONENT libraries
        LIBRARY COMPONENT libraries NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
if(QUARROW_BUILD_TOOL)
    install(TARGETS quarrow RUNTIME COMPONENT tool)
    if(TARGET quarrow_static)
        install(PROGRAMS $<TARGET_FILE:quarrow_static> DESTINATION . RENAME quarrow COMPONENT static EXCLUDE_FROM_ALL)
        install(FILES ${PROJECT_BINARY_DIR}/copyright DESTINATION . COMPONENT static EXCLUDE_FROM_ALL)
    endif()
endif()
# MinGW's libraries come with debugging information, many times their own size.
foreach(dll ${QUARROW_RUNTIME_DLLS})
    get_filename_component(name ${dll} NAME)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/stripped)
    execute_process(COMMAND ${CMAKE_STRIP} -o ${PROJECT_BINARY_DIR}/stripped/${name} ${dll} COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${PROJECT_BINARY_DIR}/stripped/${name} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT libraries)
endforeach()
# quarrow_compressed(<file> <name>): the file as gzip has it, without name and time, in the build folder.
function(quarrow_compressed file name)
    execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${PROJECT_BINARY_DIR}/${name} COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()
include(QuarrowThirdParty)
file(GLOB documents CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md ${PROJECT_SOURCE_DIR}/docs/*.json)
install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quarrow COMPONENT tool)
if(QUARROW_BUILD_TOOL AND NOT WIN32)
    quarrow_compressed(${PROJECT_SOURCE_DIR}/docs/quarrow.1 quarrow.1.gz)
    install(FILES ${PROJECT_BINARY_DIR}/quarrow.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/quarrow/quarrow.bash-completion RENAME quarrow
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/quarrow/_quarrow
            DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tool)
    install(FILES ${PROJECT_SOURCE_DIR}/tools/quarrow/quarrow.fish
            DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Quarrow)
install(EXPORT QuarrowTargets NAMESPACE Quarrow:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuarrowConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QuarrowConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QuarrowConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QuarrowConfig.cmake ${PROJECT_BINARY_DIR}/QuarrowConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT development)

file(GLOB examples CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/*)
install(FILES ${examples} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libquarrow-dev/examples COMPONENT development)

# Found from where the file lies, so that an installed tree can be moved.
set(QUARROW_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
cmake_path(RELATIVE_PATH QUARROW_PC_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
get_property(static GLOBAL PROPERTY QUARROW_STATIC_DEFINITIONS)
set(QUARROW_PC_DEFINITIONS "")
foreach(definition ${static})
    string(APPEND QUARROW_PC_DEFINITIONS " -D${definition}")
endforeach()
set(QUARROW_PC_LIBS "")
foreach(library ${libraries})
    if(static OR NOT WIN32) # there the import libraries keep the whole names of their DLLs
        string(REGEX REPLACE "^lib" "" library ${library})
    endif()
    string(PREPEND QUARROW_PC_LIBS "-l${library} ")
endforeach()
set(QUARROW_PC_PRIVATE_LIBS "")
foreach(library ${QUARROW_READER_NAMES} ${CMAKE_DL_LIBS})
    string(APPEND QUARROW_PC_PRIVATE_LIBS " -l${library}")
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/quarrow.pc.in ${PROJECT_BINARY_DIR}/quarrow.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quarrow.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# The reference documentation of the public headers: build/<preset>/docs/html.
list(JOIN headers " " headers_for_doxygen)
add_custom_target(docs
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/docs
    COMMAND ${CMAKE_COMMAND} -E env QUARROW_VERSION=${PROJECT_VERSION} QUARROW_DOCS=${PROJECT_BINARY_DIR}/docs
            "QUARROW_HEADERS=${headers_for_doxygen}" doxygen docs/Doxyfile
    COMMENT "Documenting the public headers" WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
