// The texts of the standard headers, as embed_headers.cmake puts them into the binary.
#ifndef NXPARSE_EMBEDDED_H
#define NXPARSE_EMBEDDED_H

struct EMBEDDED_HEADER {
    const char* name; // "stdio.h"; null ends the table
    const char* text;
};
extern const EMBEDDED_HEADER embedded_headers[];

#endif
