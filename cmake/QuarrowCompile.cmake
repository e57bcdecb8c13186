# How our own targets are compiled, and nobody else's.

# Warnings are errors.
function(quarrow_warnings target)
    if(QUARROW_WARNINGS)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
    endif()
endfunction()

# quarrow_unity(<target>): where it is compiled in batches of several sources (UNITY_BUILD), as the presets do to parse
# headers less often, there are two: the sources of Windows, whose headers define words of ours, have their own.
function(quarrow_unity target)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    set_source_files_properties(${sources} PROPERTIES UNITY_GROUP common)
    list(FILTER sources INCLUDE REGEX "/os/windows/")
    set_source_files_properties(${sources} PROPERTIES UNITY_GROUP windows)
    set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
    # What is local to one source of a batch is not known to the next. gcc also takes them for headers, in which a local type
    # would be a fault. Where they are compiled alone, as without a preset, both are looked for.
    set(before "#pragma GCC diagnostic ignored \"-Wshadow\"")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        string(APPEND before "\n#pragma GCC diagnostic ignored \"-Wsubobject-linkage\"")
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD_CODE_BEFORE_INCLUDE "${before}")
endfunction()

# quarrow_as_one(<target>): it is compiled in batches, unless the user decides otherwise by CMAKE_UNITY_BUILD. For where
# the headers of others are most of what compiling costs.
function(quarrow_as_one target)
    if(NOT DEFINED CMAKE_UNITY_BUILD)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
    endif()
    quarrow_unity(${target})
endfunction()
