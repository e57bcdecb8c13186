/* What a C run-time library would do for the example: begin, print, end. */

#include <stdio.h>

#include <stdarg.h>
#include <stdint.h>

__declspec(dllimport) void* GetStdHandle(uint32_t which);
__declspec(dllimport) int WriteFile(void* file, const void* bytes, uint32_t size, uint32_t* written, void* overlapped);
__declspec(dllimport) char* GetCommandLineA(void);
__declspec(dllimport) void ExitProcess(uint32_t status);

int main(int argc, char** argv);

/* The compiler calls these two by itself. */
void* memcpy(void* to, const void* from, size_t size) {
    volatile char* t = to;
    const char* f = from;
    while (size-- != 0) {
        *t++ = *f++;
    }
    return to;
}

void* memset(void* to, int value, size_t size) {
    volatile char* t = to;
    while (size-- != 0) {
        *t++ = (char)value;
    }
    return to;
}

static void write_bytes(uint32_t stream, const char* bytes, size_t size) {
    uint32_t written;
    WriteFile(GetStdHandle(stream), bytes, (uint32_t)size, &written, NULL);
}

static size_t length(const char* text) {
    size_t size = 0;
    while (text[size] != '\0') {
        ++size;
    }
    return size;
}

static void write_number(uint32_t stream, unsigned number) {
    char digits[10];
    size_t first = sizeof digits;
    do {
        digits[--first] = (char)('0' + number % 10);
        number /= 10;
    } while (number != 0);
    write_bytes(stream, digits + first, sizeof digits - first);
}

static void write_formatted(uint32_t stream, const char* format, va_list values) {
    while (*format != '\0') {
        size_t plain = 0;
        while (format[plain] != '\0' && format[plain] != '%') {
            ++plain;
        }
        write_bytes(stream, format, plain);
        format += plain;
        if (*format == '%') {
            size_t width = 0;
            if (*++format == '*') {
                width = (size_t)va_arg(values, int);
                ++format;
            }
            if (*format == 'u') {
                write_number(stream, va_arg(values, unsigned));
            } else {
                const char* text = va_arg(values, const char*);
                size_t size = length(text);
                for (; width > size; --width) {
                    write_bytes(stream, " ", 1);
                }
                write_bytes(stream, text, size);
            }
            ++format;
        }
    }
}

int printf(const char* format, ...) {
    va_list values;
    va_start(values, format);
    write_formatted((uint32_t)-11, format, values);
    va_end(values);
    return 0;
}

int fprintf(standard_stream* stream, const char* format, ...) {
    va_list values;
    va_start(values, format);
    write_formatted((uint32_t)-12, format, values);
    va_end(values);
    return stream == stderr ? 0 : -1;
}

/* Words with blanks between them; a word with blanks in it stands in quotes. */
void start(void) {
    static char* words[1024];
    char* at = GetCommandLineA();
    int count = 0;
    while (*at != '\0' && count + 1 < (int)(sizeof words / sizeof words[0])) {
        char end = ' ';
        while (*at == ' ') {
            ++at;
        }
        if (*at == '"') {
            end = '"';
            ++at;
        }
        if (*at != '\0') {
            words[count++] = at;
        }
        while (*at != '\0' && *at != end) {
            ++at;
        }
        if (*at != '\0') {
            *at++ = '\0';
        }
    }
    ExitProcess((uint32_t)main(count, words));
}

int _fltused = 1; /* that floating point is used, which the compiler wants to be told */
