# How our own targets are compiled, and nobody else's.

# Warnings are errors.
function(quarrow_warnings target)
    if(QUARROW_WARNINGS)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
    endif()
endfunction()

# quarrow_precompiled(<name> [PROGRAMS] LINK <targets> HEADERS <headers>): headers that quarrow_precompile(<target> <name>) has
# parsed once for all its targets, which are libraries or, with PROGRAMS, programs. A target of its own and without a
# definition, since a compiler takes such headers only where everything is defined that was when it parsed them.
function(quarrow_precompiled name)
    cmake_parse_arguments(ARG "PROGRAMS" "" "LINK;HEADERS" ${ARGN})
    if(NOT QUARROW_PRECOMPILE OR CMAKE_CXX_COMPILER_LAUNCHER MATCHES ccache)
        return()
    endif()
    file(WRITE ${PROJECT_BINARY_DIR}/${name}.cpp "")
    add_library(${name} OBJECT ${PROJECT_BINARY_DIR}/${name}.cpp)
    target_link_libraries(${name} PRIVATE ${ARG_LINK})
    target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
    quarrow_warnings(${name})
    if(ARG_PROGRAMS AND NOT WIN32)
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
        target_compile_options(${name} PRIVATE ${CMAKE_CXX_COMPILE_OPTIONS_PIE})
    endif()
endfunction()

function(quarrow_precompile target name)
    if(TARGET ${name})
        target_precompile_headers(${target} REUSE_FROM ${name})
    endif()
endfunction()

# What nearly every source of ours includes.
set(QUARROW_COMMON_HEADERS <algorithm> <cstdint> <functional> <map> <memory> <string> <vector> <boost/optional.hpp>)
quarrow_precompiled(quarrow_common_headers LINK Boost::headers HEADERS ${QUARROW_COMMON_HEADERS})
