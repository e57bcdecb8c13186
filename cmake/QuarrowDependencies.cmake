# The libraries that we stand on; all of them are used as headers only.
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
    quarrow_dependency(nlohmann_json TARGET nlohmann_json::nlohmann_json HEADERS nlohmann)
endif()
