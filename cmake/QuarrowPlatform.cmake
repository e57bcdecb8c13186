# Which of the os/ folders is built, and where everything that is built lies.
if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
    message(FATAL_ERROR "Quarrow is for x86-64 only.")
endif()
if(WIN32)
    set(QUARROW_OS windows)
else()
    set(QUARROW_OS linux)
endif()

# Side by side, so that programs find their libraries on Windows too. Another project puts things where it likes.
if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
    set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
endif()

# MinGW's run-time libraries go beside the programs that need them.
if(MINGW AND PROJECT_IS_TOP_LEVEL)
    file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
                        OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${found}")
            set(found /usr/x86_64-w64-mingw32/lib/${name})
        endif()
        file(COPY_FILE ${found} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ONLY_IF_DIFFERENT)
        list(APPEND QUARROW_RUNTIME_DLLS ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
    endforeach()
endif()

if(QUARROW_SANITIZE)
    add_compile_options(-fsanitize=${QUARROW_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUARROW_SANITIZE})
endif()
