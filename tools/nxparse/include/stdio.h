#ifndef _NX_STDIO_H
#define _NX_STDIO_H
#include <stdarg.h>
#include <stddef.h>
#define EOF (-1)
#define BUFSIZ 512
typedef struct _NX_FILE FILE;
extern FILE* stdin;
extern FILE* stdout;
extern FILE* stderr;
int printf(const char* restrict format, ...);
int fprintf(FILE* restrict stream, const char* restrict format, ...);
int sprintf(char* restrict to, const char* restrict format, ...);
int snprintf(char* restrict to, size_t n, const char* restrict format, ...);
int vprintf(const char* restrict format, va_list ap);
int vfprintf(FILE* restrict stream, const char* restrict format, va_list ap);
int vsprintf(char* restrict to, const char* restrict format, va_list ap);
int vsnprintf(char* restrict to, size_t n, const char* restrict format, va_list ap);
int sscanf(const char* restrict from, const char* restrict format, ...);
int scanf(const char* restrict format, ...);
int puts(const char* s);
int fputs(const char* restrict s, FILE* restrict stream);
int putchar(int c);
int fputc(int c, FILE* stream);
int putc(int c, FILE* stream);
int getchar(void);
int fgetc(FILE* stream);
int getc(FILE* stream);
char* fgets(char* restrict to, int n, FILE* restrict stream);
size_t fread(void* restrict to, size_t size, size_t n, FILE* restrict stream);
size_t fwrite(const void* restrict from, size_t size, size_t n, FILE* restrict stream);
int fflush(FILE* stream);
void perror(const char* s);
#endif
