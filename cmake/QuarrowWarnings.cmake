# Warnings are errors, for our own targets only.
function(quarrow_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
endfunction()
