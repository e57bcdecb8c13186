# Which of the os/ folders is built.
if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
    message(FATAL_ERROR "Quarrow is for x86-64 only.")
endif()
if(WIN32)
    set(QUARROW_OS windows)
else()
    set(QUARROW_OS linux)
endif()

# Everything that is built lies side by side, so that programs find their libraries on Windows too.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)

if(QUARROW_SANITIZE)
    add_compile_options(-fsanitize=${QUARROW_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUARROW_SANITIZE})
endif()
