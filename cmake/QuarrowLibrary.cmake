include(GenerateExportHeader)
include(GNUInstallDirs)

# quarrow_library(NAME <file name> ALIAS <alias> MACRO <prefix> HEADER <export header> [LINK <targets>])
#
# A shared library of the current folder: its sources and those of os/<platform>, hidden visibility, an export header in
# the build tree. The objects are a target of their own, <file name>_objects, which tests of internals link.
function(quarrow_library)
    cmake_parse_arguments(ARG "" "NAME;ALIAS;MACRO;HEADER" "LINK;PRIVATE_LINK;EXCLUDE" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp *.h)
    foreach(other windows linux)
        if(NOT other STREQUAL QUARROW_OS)
            list(FILTER sources EXCLUDE REGEX "/os/${other}/")
        endif()
    endforeach()

    add_library(${ARG_NAME}_objects OBJECT ${sources})
    target_include_directories(${ARG_NAME}_objects PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>)
    target_compile_definitions(${ARG_NAME}_objects PRIVATE ${ARG_NAME}_EXPORTS)
    target_link_libraries(${ARG_NAME}_objects PUBLIC ${ARG_LINK} PRIVATE quarrow_headers ${ARG_PRIVATE_LINK})
    quarrow_warnings(${ARG_NAME}_objects)

    add_library(${ARG_NAME} SHARED $<TARGET_OBJECTS:${ARG_NAME}_objects>)
    add_library(Quarrow::${ARG_ALIAS} ALIAS ${ARG_NAME})
    generate_export_header(${ARG_NAME} BASE_NAME ${ARG_MACRO} EXPORT_FILE_NAME
        ${PROJECT_BINARY_DIR}/${ARG_HEADER})
    target_include_directories(${ARG_NAME} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${ARG_NAME} PUBLIC cxx_std_17)
    target_link_libraries(${ARG_NAME} PUBLIC ${ARG_LINK} $<BUILD_INTERFACE:quarrow_boost>
        PRIVATE ${ARG_PRIVATE_LINK} $<BUILD_INTERFACE:quarrow_headers>)
    set_target_properties(${ARG_NAME} PROPERTIES
        OUTPUT_NAME "${ARG_NAME}" VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    # libzel.so and zel.dll, but libQuarrow.so and libQuarrow.dll.
    if(WIN32 OR ARG_NAME MATCHES "^lib")
        set_target_properties(${ARG_NAME} PROPERTIES PREFIX "")
    endif()
endfunction()
