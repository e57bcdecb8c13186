# The libraries that we stand on; all that every build needs are used as headers only.
#
# A cross build sees the host's headers where its toolchain file says so (QUARROW_HOST_HEADERS), through a folder of links
# to just these, for it must not see the whole of /usr/include. Any other build finds their packages.

# quarrow_dependency(<package> TARGET <target> HEADERS <folder of its headers> [VERSION <lowest>] [DEFINE <definition>])
macro(quarrow_dependency package)
    cmake_parse_arguments(ARG "" "TARGET;HEADERS;VERSION;DEFINE" "" ${ARGN})
    if(TARGET ${ARG_TARGET})
        # the project that we are part of brought it
    elseif(NOT QUARROW_HOST_HEADERS)
        find_package(${package} ${ARG_VERSION} REQUIRED)
    else()
        if(NOT EXISTS ${QUARROW_HOST_HEADERS}/${ARG_HEADERS})
            message(FATAL_ERROR "The headers of ${package} are missing: run 'scripts/install-packages.sh build'.")
        endif()
        set(links ${PROJECT_BINARY_DIR}/dependencies)
        file(MAKE_DIRECTORY ${links})
        file(CREATE_LINK ${QUARROW_HOST_HEADERS}/${ARG_HEADERS} ${links}/${ARG_HEADERS} SYMBOLIC)
        add_library(${ARG_TARGET} INTERFACE IMPORTED)
        target_include_directories(${ARG_TARGET} SYSTEM INTERFACE ${links})
        target_compile_definitions(${ARG_TARGET} INTERFACE ${ARG_DEFINE})
    endif()
endmacro()

quarrow_dependency(Boost TARGET Boost::headers HEADERS boost VERSION 1.74) # the public headers include it
quarrow_dependency(fmt TARGET fmt::fmt-header-only HEADERS fmt DEFINE FMT_HEADER_ONLY)
quarrow_dependency(spdlog TARGET spdlog::spdlog_header_only HEADERS spdlog)
# Its package has the shared library of fmt linked, even to those who use headers only.
add_library(quarrow_logging INTERFACE)
target_include_directories(quarrow_logging SYSTEM INTERFACE
    $<TARGET_PROPERTY:spdlog::spdlog_header_only,INTERFACE_INCLUDE_DIRECTORIES>)
target_compile_definitions(quarrow_logging INTERFACE SPDLOG_FMT_EXTERNAL)
target_link_libraries(quarrow_logging INTERFACE fmt::fmt-header-only)
if(QUARROW_BUILD_TOOL)
    quarrow_dependency(CLI11 TARGET CLI11::CLI11 HEADERS CLI)
endif()
if(QUARROW_BUILD_TOOL OR QUARROW_BUILD_C)
    quarrow_dependency(nlohmann_json TARGET nlohmann_json::nlohmann_json HEADERS nlohmann)
elseif(NOT TARGET nlohmann_json::nlohmann_json AND NOT QUARROW_HOST_HEADERS)
    find_package(nlohmann_json QUIET)
endif()

# What compressed recordings and those in XML and JSON are read with. Each may be missing: such a recording is then refused,
# with the library's name. The shared library links shared libraries; the tool links archives where there are any, since
# loading shared libraries would be most of what a run costs, and so do Windows' DLLs, which are to need no others.
#
# quarrow_readers is what the objects are compiled with, QUARROW_READER_LIBRARIES and QUARROW_READER_ARCHIVES are linked.
# QUARROW_READER_NEEDS is what static libraries of ours have their users link: here the files that were found, once they are
# installed the names (QUARROW_READER_NAMES), so that they can be used where those files lie elsewhere.
add_library(quarrow_readers INTERFACE)
set(QUARROW_READER_LIBRARIES "")
set(QUARROW_READER_ARCHIVES "")
set(QUARROW_READER_NAMES "")
set(QUARROW_READER_NEEDS "")
macro(quarrow_reader_library name header library)
    find_path(QUARROW_${name}_HEADERS ${header})
    find_library(QUARROW_${name}_ARCHIVE lib${library}.a)
    if(WIN32)
        set(QUARROW_${name}_LIBRARY ${QUARROW_${name}_ARCHIVE})
    else()
        find_library(QUARROW_${name}_LIBRARY ${library})
    endif()
    mark_as_advanced(QUARROW_${name}_HEADERS QUARROW_${name}_ARCHIVE QUARROW_${name}_LIBRARY)
    if(QUARROW_${name}_HEADERS AND QUARROW_${name}_LIBRARY)
        target_include_directories(quarrow_readers SYSTEM INTERFACE ${QUARROW_${name}_HEADERS})
        target_compile_definitions(quarrow_readers INTERFACE QUARROW_HAS_${name})
        list(APPEND QUARROW_READER_LIBRARIES ${QUARROW_${name}_LIBRARY})
        list(APPEND QUARROW_READER_NAMES ${library})
        list(APPEND QUARROW_READER_NEEDS $<BUILD_INTERFACE:${QUARROW_${name}_LIBRARY}> $<INSTALL_INTERFACE:${library}>)
        if(QUARROW_${name}_ARCHIVE)
            list(APPEND QUARROW_READER_ARCHIVES ${QUARROW_${name}_ARCHIVE})
        else()
            list(APPEND QUARROW_READER_ARCHIVES ${QUARROW_${name}_LIBRARY})
        endif()
    else()
        message(STATUS "Without lib${library} (${header}): recordings that need it will be refused")
    endif()
endmacro()
quarrow_reader_library(ZLIB zlib.h z)
quarrow_reader_library(LIBLZMA lzma.h lzma)
quarrow_reader_library(LIBBZ2 bzlib.h bz2)
quarrow_reader_library(PUGIXML pugixml.hpp pugixml)
if(TARGET nlohmann_json::nlohmann_json)
    target_link_libraries(quarrow_readers INTERFACE nlohmann_json::nlohmann_json)
    target_compile_definitions(quarrow_readers INTERFACE QUARROW_HAS_JSON)
endif()
