// An icode file as a list of its records, with the type references as they are written.
//
// The optimizer's own form of a file unifies types, renumbers symbols and drops what it does not need. This model keeps
// all of it, so that decode() and encode() are exact inverses for every file in the form of the project's writers. It
// knows the fields of each record and nothing of their meaning, except where the encoding of one field depends on
// another record (the sign of a constant depends on its type).
#ifndef NXTEXT_DOCUMENT_H
#define NXTEXT_DOCUMENT_H

#include "icode/if.h"
#include "ir/opcodes.h"

#include <array>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace nxtext {

// What is wrong with a binary file: decode() throws it.
struct file_fault : std::runtime_error {
    size_t offset; // from the begin of the file
    file_fault(size_t at, const std::string& text) : std::runtime_error(text), offset(at) {}
};

// What is wrong with a text: parse() throws it.
struct text_fault : std::runtime_error {
    int line, column; // from 1
    text_fault(int at_line, int at_column, const std::string& text)
        : std::runtime_error(text), line(at_line), column(at_column) {}
};

// A source position; `file` is an index into DOCUMENT::files from 1, 0 means no position.
struct POS {
    uint32_t file = 0, line = 0, column = 0;
    bool operator==(const POS&) const = default;
};

// One expression node. `f` holds what its record has besides the type, by opcode:
//     LABEL, VREG, EPVAL, SKIP, UCALL   number          SWITCH   count of cases
//     NAME   scope, index               CALL    extra arguments, exception entry
//     ICON   32 bits of value           FIELD   kind (8 bits, signed), member id, typeref of the struct
//     DDNODE id, locale, flags
// `text` holds the characters of an SCON, the number text of FCON and LCON, the name of a builtin call.
struct ENODE {
    uint8_t op = 0;
    uint32_t type = 0;
    std::array<uint32_t, 3> f{};
    std::string text;
    int left = -1, right = -1; // places in TREE::nodes, -1 for none
};

struct TREE {
    std::vector<ENODE> nodes;
    int root = -1; // -1: a statement record without a tree
    const ENODE& operator[](int i) const { return nodes[static_cast<size_t>(i)]; }
    ENODE& operator[](int i) { return nodes[static_cast<size_t>(i)]; }
};

// Number of operand nodes that a file holds behind a node of this opcode.
int operands_in_file(int op);

struct PRAGMA_REC {
    uint32_t kind = 0;
    std::vector<std::string> strings;
    bool operator==(const PRAGMA_REC&) const = default;
};

struct SYMBOL_REC {
    std::string name;
    uint32_t size = 0, offset = 0, type = 0, type2 = 0, aln = 0; // bits; typerefs
    uint8_t sclass = 0;
    uint16_t scqual = 0;
    std::vector<PRAGMA_REC> pragmas;
    uint32_t position = 0;     // file offset of its body or initialiser
    bool position_here = true; // the position is where the body or initialiser really stands (0 if there is none);
                               // encode() fills it in
    uint32_t option_set = 0;
    POS pos;
};

// A type record. `v` holds its numeric fields in the order of the newest version, 0 where an older version lacks one.
struct TYPE_REC {
    uint32_t ref = 0; // typeref that it defines or extends
    uint8_t kind = 0; // K
    std::vector<uint32_t> v;
    std::string name;
    POS pos;
};

// Kinds of type records that others than the integers and floats use.
enum TYPE_KIND : uint8_t {
    TK_BOOL = 0,
    TK_CHAR = 1,
    TK_UCHAR = 2,
    TK_USHORT = 5,
    TK_INT = 6,
    TK_UINT = 7,
    TK_FLOAT = 10,
    TK_DOUBLE = 11,
    TK_LDOUBLE = 12,
    TK_FIXED = 13,
    TK_TYPEDEF = 14,
    TK_POINTER = 15,
    TK_REFERENCE = 16,
    TK_QUALIFIED = 17,
    TK_ARRAY = 18,
    TK_PTM = 19,
    TK_FUNCTION = 20,
    TK_PARAM = 21,
    TK_ENUM = 22,
    TK_ETOR = 23,
    TK_CSU = 24,
    TK_CSU_LONG = 25,
    TK_MEMBER = 28,
    TK_BASE = 29,
    TK_ACCESS = 30,
    TK_FRIEND_FUNC = 31,
    TK_FRIEND_CLASS = 32,
    TK_NESTED = 33,
    TK_STATIC = 34,
    TK_METHOD = 35,
    TK_COMPLEX = 36,
    TK_VOID = 49,
    TK_LLONG = 50,
    TK_ULLONG = 51,
    TK_LIST = 254,
    TK_END_LIST = 255
};
// Fields of a type record in order, one letter each: u uint, s sint, b one byte, t typeref, n string, p position,
// v enumerator value; x a number that this version's record lacks. False for a kind that no file has.
bool type_layout(int kind, int version, std::string& layout);
size_t type_fields(int kind); // count of numeric fields
// In the oldest version a member's flag stands before its width; swaps the two in `v` for reading and writing.
bool member_flag_first(int kind, int version);

struct CATCH_REC {
    std::string name;
    uint32_t label = 0;
    uint8_t flag = 0;
};
struct EHT_REC {
    uint32_t id = 0, kind = 0, next = 0, count = 0;
    POS pos;                        // EHK_CLEANUP: of its statement record
    TREE cleanup;                   // EHK_CLEANUP
    std::vector<CATCH_REC> catches; // EHK_CATCH
};

// A record of the body. Which members count depends on the id:
//     1 2 3 4 5 6   pos (1: also number, the global's index)         42 number   64 number (8 bits, signed)
//     35  symbol    36  text, pos    47 126  text    46  pos, tree   94  pragma
//     93  eht       101  tree        105  number, list               all others  text: the raw bytes
struct ITEM {
    uint8_t id = 0;
    uint32_t number = 0;
    POS pos;
    std::string text;
    TREE tree;
    std::unique_ptr<SYMBOL_REC> symbol;
    std::unique_ptr<PRAGMA_REC> pragma;
    std::vector<EHT_REC> eht;
    std::vector<TREE> list; // nodes of an initialiser, its ENDINIT left out if that is a bare one
};

struct DOCUMENT {
    int version = icode_version;
    uint32_t reserved = 0;
    std::string producer;
    std::vector<std::string> files; // names; file 1 is the first
    std::vector<OPTION_SET> options;
    std::vector<TYPE_REC> types;
    std::vector<SYMBOL_REC> globals;
    std::vector<ITEM> body;
    std::vector<ITEM> inits; // items of id 105
};

// Bytes to model. Throws file_fault.
DOCUMENT decode(const std::string& bytes);
// Model to bytes; also fills in the positions of the symbols.
std::string encode(DOCUMENT&);

// Appends to `text` the bytes read from a file; false if it cannot be read.
bool read_whole_file(const std::string& path, std::string& text);

} // namespace nxtext

#endif
