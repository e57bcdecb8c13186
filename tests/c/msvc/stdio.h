/* As much of <stdio.h> as the example in C needs, for an ABI of which there is no C run-time library here. */
#ifndef TESTS_C_MSVC_STDIO_H
#define TESTS_C_MSVC_STDIO_H

#include <stddef.h>

typedef struct standard_stream standard_stream;
#define stderr ((standard_stream*)0)

/* %s, %u and %*s. */
int printf(const char* format, ...);
int fprintf(standard_stream* stream, const char* format, ...);

#endif
