# cmake -DOBJECTS=<file with their names> -DFOLDER=<folder of our own> -DARCHIVE=<.a to make> -DOBJCOPY= -DNM= -DAR=
#       -DCOMPILER= -P gather_objects.cmake
#
# An archive of objects that were compiled for several DLLs, made fit for one: their orders to export what they have are left
# out, and where one expects a symbol in another DLL, the pointer that would lead there (__imp_X) leads to the symbol itself,
# as it does wherever the DLLs' authors link statically. GNU's linker does neither by itself.
cmake_minimum_required(VERSION 3.22)
file(STRINGS ${OBJECTS} objects)
file(REMOVE_RECURSE ${FOLDER} ${ARCHIVE})
file(MAKE_DIRECTORY ${FOLDER})

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(number 0)
set(copies "")
foreach(object ${objects})
    math(EXPR number "${number} + 1")
    run(${OBJCOPY} --remove-section .drectve ${object} ${FOLDER}/${number}.o)
    list(APPEND copies ${FOLDER}/${number}.o)
endforeach()

function(symbols result)
    execute_process(COMMAND ${NM} --format=posix ${ARGN} ${copies} OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "(^|\n)[^ \n]+ [A-Z]" lines "${listed}")
    list(TRANSFORM lines REPLACE "^\n?([^ ]+) [A-Z]$" "\\1")
    list(REMOVE_DUPLICATES lines)
    set(${result} "${lines}" PARENT_SCOPE)
endfunction()
symbols(defined --defined-only --extern-only)
symbols(wanted --undefined-only)
list(FILTER wanted INCLUDE REGEX "^__imp_")
list(TRANSFORM wanted REPLACE "^__imp_" "")
set(pointers ".section .rdata\n.balign 8\n")
foreach(symbol ${wanted})
    if(symbol IN_LIST defined)
        string(APPEND pointers ".globl __imp_${symbol}\n__imp_${symbol}: .quad ${symbol}\n")
    endif()
endforeach()
file(WRITE ${FOLDER}/pointers.s "${pointers}")
run(${COMPILER} -c ${FOLDER}/pointers.s -o ${FOLDER}/pointers.o)
run(${AR} rcs ${ARCHIVE} ${FOLDER}/pointers.o ${copies})
