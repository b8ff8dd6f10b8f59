// Listings for the debug log: trees, statements, symbols, types, blocks. All go to `fdebug` (nothing is written when
// there is none) but those with a stream of their own. They may be called at any point of a pass, from a debugger too.
#ifndef DRIVER_DUMP_H
#define DRIVER_DUMP_H

#include <cstdint>
#include <cstdio>

struct BITVEC;
struct EHT_ENTRY;
struct LIST;
struct NODE;
struct SYMTAB;
struct TYPE;

void prtree(const NODE* tree, int indent); // a node a line, operands below it: opcode, what it holds, type
void prtree1(const NODE* tree);            // as C, on one line
void prlist(const LIST* list, int indent); // every statement as prtree does
void prlist1(const LIST* list);            // every statement as C, with its source position

void dump_symbol_list(const SYMTAB* list, FILE* to); // a symbol a line: class, type, size and place, scope
void dump_stack();                                   // the open traces, innermost first
void dump_bitvec(const BITVEC*);                     // its members
void dump_struct(TYPE*, int indent); // members with their places in bits; struct members below, two levels deep
void dump_struct_inits(const SYMTAB* global);
void dump_EHT(const EHT_ENTRY* table, uint32_t count);
void dump_bblist(); // the blocks of the current function, a line each

// What a reader of the log needs before the blocks: type, flags, symbols, scopes, exception table.
void dump_function_records();

#endif
