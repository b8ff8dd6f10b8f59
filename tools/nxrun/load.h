// A translation unit as it stands in the file, before it is compiled; and a program of several.
#ifndef NXRUN_LOAD_H
#define NXRUN_LOAD_H

#include "fault.h"
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
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
    uint32_t file = 0; // that it stands in: index into UNIT::files
};

struct UNIT {
    std::vector<std::string> files; // their names; one, but for a linked unit
    std::vector<SYMTAB*> globals;   // in the order of the file's table
    std::vector<SOURCE_FUNCTION> functions;
    std::vector<std::pair<SYMTAB*, EXPR_LIST*>> initialisers;
    std::unordered_set<const SYMTAB*> weak; // definitions that give way, declarations that may stay without one
    bool optimized = false;                 // begins with the comment of nxopt's outputs
    // Of a linked unit, for each global: its file, and the name under which it meets its like in other files.
    struct LINKAGE {
        uint32_t file;
        std::string key;
    };
    std::vector<LINKAGE> linkage;
};

// Reads a file. Throws BAD_FILE if it cannot be opened or is no icode file; what the reader itself finds wrong further
// inside ends the process with a message and status 1.
UNIT load_unit(const std::string& path);
// The same from an open stream, which the reader takes; `name` is for messages.
UNIT load_unit(FILE* stream, const std::string& name);
// Whether the file begins as an icode file does.
bool is_icode_file(const std::string& path);

// The program that files make together: all that is external and of one name is one, statics stay apart. A definition
// that is weak gives way to one that is not, or to an earlier weak one. Throws BAD_FILE, naming symbols and files, if
// two files define a symbol, if one has a function and another an object of a name, or if code or an initialiser names
// what nobody defines and the library does not have.
UNIT link_units(std::vector<UNIT>);

#endif
