// LS: the tree of lexical scopes of a function. Level 0 is the file's view of the function, level 1 the parameters,
// level 2 the function's outer block, deeper levels its inner blocks. Scopes live as long as their function's body.
#ifndef IR_LS_H
#define IR_LS_H

#include "ir/psn.h"
#include "ir/symbol.h"

#include <cstdio>

struct LS {
    LS* parent = nullptr;
    LS* child = nullptr; // first child, in order of opening
    LS* last_child = nullptr;
    LS* sibling = nullptr;
    SYMLIST* pointer_syms = nullptr;
    SYMLIST* csu_syms = nullptr;
    SYMLIST* array_syms = nullptr;
    SYMLIST* other_syms = nullptr;
    PSN* end_psn = nullptr;
    SYMTAB* function = nullptr; // the function that the scope was read in
    uint32_t number = 0;        // running number in the function
    uint32_t level = 0;
};

// The tree of a function hangs at FUNINFO::scopes and its scope in work at FUNINFO::scope_cursor.
LS* LS_open(FUNINFO*);             // a new scope inside the one in work; becomes the one in work
void LS_close(FUNINFO*, PSN* end); // its parent becomes the one in work
LS* LS_level_0_scope(LS* root);    // each of these wants the root
LS* LS_level_1_scope(LS* root);
LS* LS_level_2_scope(LS* root);
void LS_add_symbol(LS*, SYMTAB*); // files the symbol; internal names stay out, outer levels file only pointers
void LS_remove_symbol(SYMTAB*);   // takes the symbol out of the lists of its scope
void LS_initialize_scopes_and_ptrs_from_tree(LS*, NODE*); // gives every node without a scope this one
bool LS_validate(LS* root); // parent, level and number of every scope; false if one is wrong
void LS_print(LS* root, FILE*);
void LS_erase(LS* root);

#endif
