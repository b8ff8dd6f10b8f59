// Function output: what a function's blocks become on their way into the output file.
#ifndef ICODE_WRITE_H
#define ICODE_WRITE_H

#include "ir/node.h"

struct LBL;
struct SYMTAB;
struct PRAGMA;

void write_func_header();      // the begin record of the current function; empties the output's table of locals
void write_func_body();        // everything behind it, up to the end record
void wrbblocks();              // the statements, block by block
void wrexpr(LIST*);            // the statements of a list
void wrtree(NODE*);            // one tree, as for an initialiser
void wrbdlr(LBL*);             // a block's labels: those that are referenced
void wrsfid(const char* text); // source-file record
void wrstcr(int id, PSN*);     // begin function (1) or another control record
void wrasmr(int kind, const char* text, PSN*); // kind 47: comment; all others: assembly
// Replaces the type of a symbol by what the source declared, if that still fits. Qualifiers of the type stay.
void revert_symbol_type(SYMTAB*);
void finalize_dd_edges(); // writes the dependence edges whose ends are still there
void add_dd_edge(uint32_t from, uint32_t to, uint32_t kind, const char* from_text, const char* to_text);
void write_loop_icode(void*); // no loop records are written by this program
void write_dd_mbank_info();
void write_dd_edges();
void dump_psnrefs();

#endif
