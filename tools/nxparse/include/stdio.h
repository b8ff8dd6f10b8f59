#ifndef _NX_STDIO_H
#define _NX_STDIO_H
#include <stdarg.h>
#include <stddef.h>
#define EOF (-1)
#define BUFSIZ 512
#define FOPEN_MAX 64
#define FILENAME_MAX 256
#define L_tmpnam 16
#define TMP_MAX 10000
#define SEEK_SET 0
#define SEEK_CUR 1
#define SEEK_END 2
#define _IOFBF 0
#define _IOLBF 1
#define _IONBF 2
typedef struct _NX_FILE FILE;
typedef struct {
    long __at;
} fpos_t;
extern FILE* stdin;
extern FILE* stdout;
extern FILE* stderr;
#define stdin stdin
#define stdout stdout
#define stderr stderr
FILE* fopen(const char* __restrict name, const char* __restrict mode);
FILE* freopen(const char* __restrict name, const char* __restrict mode, FILE* __restrict stream);
FILE* tmpfile(void);
char* tmpnam(char* name);
int fclose(FILE* stream);
int fflush(FILE* stream);
int remove(const char* name);
int rename(const char* from, const char* to);
void setbuf(FILE* __restrict stream, char* __restrict buffer);
int setvbuf(FILE* __restrict stream, char* __restrict buffer, int mode, size_t size);
int printf(const char* __restrict format, ...);
int fprintf(FILE* __restrict stream, const char* __restrict format, ...);
int sprintf(char* __restrict to, const char* __restrict format, ...);
int vprintf(const char* __restrict format, va_list ap);
int vfprintf(FILE* __restrict stream, const char* __restrict format, va_list ap);
int vsprintf(char* __restrict to, const char* __restrict format, va_list ap);
int scanf(const char* __restrict format, ...);
int fscanf(FILE* __restrict stream, const char* __restrict format, ...);
int sscanf(const char* __restrict from, const char* __restrict format, ...);
int puts(const char* s);
int fputs(const char* __restrict s, FILE* __restrict stream);
int putchar(int c);
int fputc(int c, FILE* stream);
int putc(int c, FILE* stream);
int getchar(void);
int fgetc(FILE* stream);
int getc(FILE* stream);
int ungetc(int c, FILE* stream);
char* fgets(char* __restrict to, int n, FILE* __restrict stream);
size_t fread(void* __restrict to, size_t size, size_t n, FILE* __restrict stream);
size_t fwrite(const void* __restrict from, size_t size, size_t n, FILE* __restrict stream);
int fseek(FILE* stream, long offset, int from);
long ftell(FILE* stream);
void rewind(FILE* stream);
int fgetpos(FILE* __restrict stream, fpos_t* __restrict at);
int fsetpos(FILE* stream, const fpos_t* at);
int feof(FILE* stream);
int ferror(FILE* stream);
void clearerr(FILE* stream);
void perror(const char* s);
#ifdef NX_C99
int snprintf(char* __restrict to, size_t n, const char* __restrict format, ...);
int vsnprintf(char* __restrict to, size_t n, const char* __restrict format, va_list ap);
int vscanf(const char* __restrict format, va_list ap);
int vfscanf(FILE* __restrict stream, const char* __restrict format, va_list ap);
int vsscanf(const char* __restrict from, const char* __restrict format, va_list ap);
#endif
#if !defined __STDC_VERSION__ || __STDC_VERSION__ < 201112L
char* gets(char* to);
#endif
#endif
