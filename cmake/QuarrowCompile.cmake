# How our own targets are compiled, and nobody else's.

# Warnings are errors.
function(quarrow_warnings target)
    if(QUARROW_WARNINGS)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
    endif()
endfunction()

# quarrow_unity(<target>): where it is compiled in batches of several sources (UNITY_BUILD), as the presets for tests do to
# parse headers less often, these stay on their own: the sources of Windows, whose headers define words of ours.
function(quarrow_unity target)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources INCLUDE REGEX "/os/windows/.*\\.cpp$")
    set_source_files_properties(${sources} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # It takes the sources of a batch for headers, in which a local type would be a fault, and what is local to one of
        # them for known to the next. Where they are compiled alone, as in the preset linux-asan, both are looked for.
        set_target_properties(${target} PROPERTIES UNITY_BUILD_CODE_BEFORE_INCLUDE
            "#pragma GCC diagnostic ignored \"-Wsubobject-linkage\"\n#pragma GCC diagnostic ignored \"-Wshadow\"")
    endif()
endfunction()
