// A translation unit as it stands in the file, before it is compiled.
#ifndef NXRUN_LOAD_H
#define NXRUN_LOAD_H

#include "fault.h"
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <string>
#include <unordered_map>
#include <vector>

struct STATEMENT {
    enum WHAT : uint8_t { TREE, LABEL_HERE, ASSEMBLY };
    WHAT what;
    bool nested_effects = false; // assigns to something in an operand, not only at the root
    uint32_t label = 0;          // LABEL_HERE
    NODE* tree = nullptr;        // TREE
    const PSN* psn = nullptr;
};

struct SOURCE_FUNCTION {
    SYMTAB* symbol;
    std::vector<SYMTAB*> params; // in order, the variadic area last
    std::vector<SYMTAB*> locals;
    std::vector<STATEMENT> statements;
    const PSN* psn = nullptr;
    const PSN* end_psn = nullptr;
};

struct UNIT {
    std::vector<SYMTAB*> globals; // in the order of the file's table
    std::vector<SOURCE_FUNCTION> functions;
    std::vector<std::pair<SYMTAB*, EXPR_LIST*>> initialisers;
    bool optimized = false; // begins with the comment of nxopt's outputs
};

// Reads a file. Throws BAD_FILE if it cannot be opened or is no icode file; what the reader itself finds wrong further
// inside ends the process with a message and status 1.
UNIT load_unit(const std::string& path);
// The same from an open stream, which the reader takes; `name` is for messages.
UNIT load_unit(FILE* stream, const std::string& name);

#endif
