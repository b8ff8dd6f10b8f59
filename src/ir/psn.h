// PSN: a source position.
#ifndef IR_PSN_H
#define IR_PSN_H

#include <cstddef>
#include <cstdint>

// File name (shared text that lives for the run, or null), line and column. Records are made by the icode reader, one
// for each position that it meets, and live for the run; nobody changes one.
struct PSN {
    const char* file = nullptr;
    uint32_t line = 0;
    uint32_t column = 0;

    PSN() = default;
    PSN(const char* file_name, uint32_t line_no, uint32_t column_no)
        : file(file_name), line(line_no), column(column_no) {}

    static void* operator new(size_t);
    static void operator delete(void*);
};

// A copy of the text that lives for the run; equal texts give one pointer.
const char* shared_text(const char* text);

#endif
