# Header-only libraries that we stand on. A cross build must not see the whole of /usr/include, so it gets a folder of its
# own with links to just these.
set(QUARROW_HEADER_ONLY boost fmt spdlog CLI nlohmann)

add_library(quarrow_boost INTERFACE) # the public headers include it: a target of its own, for programs that use them
if(CMAKE_CROSSCOMPILING)
    set(links ${CMAKE_BINARY_DIR}/dependencies)
    file(MAKE_DIRECTORY ${links})
    foreach(name ${QUARROW_HEADER_ONLY})
        if(NOT EXISTS /usr/include/${name})
            message(FATAL_ERROR "The headers of ${name} are missing: run 'make packages'.")
        endif()
        file(CREATE_LINK /usr/include/${name} ${links}/${name} SYMBOLIC)
    endforeach()
    target_include_directories(quarrow_boost SYSTEM INTERFACE ${links})
endif()
add_library(quarrow_headers INTERFACE)
target_link_libraries(quarrow_headers INTERFACE quarrow_boost)
target_compile_definitions(quarrow_headers INTERFACE FMT_HEADER_ONLY SPDLOG_HEADER_ONLY SPDLOG_FMT_EXTERNAL)
