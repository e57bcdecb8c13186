include(GenerateExportHeader)
include(GNUInstallDirs)

# quarrow_library(NAME <file name> ALIAS <alias> MACRO <prefix> HEADER <export header> [LINK <targets>]
#                 [PRIVATE_LINK <targets>] PUBLIC <folders and headers> [PRIVATE <headers>] [WITHOUT <folders>])
#
# A library of the current folder, less the folders WITHOUT, shared unless BUILD_SHARED_LIBS is OFF: its sources and those of
# os/<platform>, hidden visibility, an export header in
# the build tree. The objects are a target of their own, <file name>_objects, which tests of internals link.
#
# PUBLIC are the folders whose headers are installed, less those that PRIVATE names, and single headers of other folders.
#
# The global property QUARROW_LIBRARIES lists the libraries, each after those that it needs: what installs, packages or
# links all of them goes by it, so a new one needs no more than this call.
function(quarrow_library)
    cmake_parse_arguments(ARG "" "NAME;ALIAS;MACRO;HEADER" "LINK;PRIVATE_LINK;PUBLIC;PRIVATE;WITHOUT" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp *.h)
    foreach(other windows linux)
        if(NOT other STREQUAL QUARROW_OS)
            list(FILTER sources EXCLUDE REGEX "/os/${other}/")
        endif()
    endforeach()

    foreach(folder ${ARG_WITHOUT})
        list(FILTER sources EXCLUDE REGEX "^${CMAKE_CURRENT_SOURCE_DIR}/${folder}/")
    endforeach()

    add_library(${ARG_NAME}_objects OBJECT ${sources})
    target_include_directories(${ARG_NAME}_objects PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>)
    target_compile_definitions(${ARG_NAME}_objects PRIVATE ${ARG_NAME}_EXPORTS)
    target_link_libraries(${ARG_NAME}_objects PUBLIC ${ARG_LINK} Boost::headers PRIVATE ${ARG_PRIVATE_LINK})
    quarrow_warnings(${ARG_NAME}_objects)
    quarrow_unity(${ARG_NAME}_objects)

    set(kind SHARED)
    if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
        set(kind STATIC)
    endif()
    add_library(${ARG_NAME} ${kind} $<TARGET_OBJECTS:${ARG_NAME}_objects>)
    add_library(Quarrow::${ARG_ALIAS} ALIAS ${ARG_NAME})
    generate_export_header(${ARG_NAME} BASE_NAME ${ARG_MACRO} EXPORT_FILE_NAME
        ${PROJECT_BINARY_DIR}/${ARG_HEADER})
    if(kind STREQUAL "STATIC")
        # Else the export header would import on Windows.
        string(TOUPPER ${ARG_MACRO}_STATIC_DEFINE static)
        target_compile_definitions(${ARG_NAME}_objects PUBLIC ${static})
        target_compile_definitions(${ARG_NAME} PUBLIC ${static})
        set_property(GLOBAL APPEND PROPERTY QUARROW_STATIC_DEFINITIONS ${static})
    endif()
    target_include_directories(${ARG_NAME} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${ARG_NAME} PUBLIC cxx_std_17)
    target_link_libraries(${ARG_NAME} PUBLIC ${ARG_LINK} Boost::headers PRIVATE ${CMAKE_DL_LIBS})
    set_target_properties(${ARG_NAME} PROPERTIES EXPORT_NAME ${ARG_ALIAS}
        OUTPUT_NAME "${ARG_NAME}" VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    if(kind STREQUAL "SHARED")
        quarrow_resources(${ARG_NAME} "Quarrow: the library ${ARG_NAME}")
    endif()
    # libzel.so and zel.dll, but libQuarrow.so and libQuarrow.dll.
    if((WIN32 AND kind STREQUAL "SHARED") OR ARG_NAME MATCHES "^lib")
        set_target_properties(${ARG_NAME} PROPERTIES PREFIX "")
    endif()

    set(headers "")
    foreach(public ${ARG_PUBLIC})
        if(public MATCHES "\\.h$")
            list(APPEND headers ${CMAKE_CURRENT_SOURCE_DIR}/${public})
        else()
            file(GLOB found CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${public}/*.h)
            list(APPEND headers ${found})
        endif()
    endforeach()
    foreach(private ${ARG_PRIVATE})
        list(REMOVE_ITEM headers ${CMAKE_CURRENT_SOURCE_DIR}/${private})
    endforeach()
    foreach(header ${headers})
        file(REAL_PATH ${header} header)
        file(RELATIVE_PATH header ${PROJECT_SOURCE_DIR} ${header})
        set_property(GLOBAL APPEND PROPERTY QUARROW_PUBLIC_HEADERS ${header})
    endforeach()
    set_property(GLOBAL APPEND PROPERTY QUARROW_EXPORT_HEADERS ${ARG_HEADER})
    set_property(GLOBAL APPEND PROPERTY QUARROW_LIBRARIES ${ARG_NAME})
endfunction()
