// The tables of the records' fields.
#include "document.h"

#include <algorithm>
#include <cstdio>

namespace nxtext {

int operands_in_file(int op) {
    static const auto table = [] {
        std::array<uint8_t, 256> count{};
#define OPCODE(no, name, text, n, op, inv, com, cls, flags)                                                            \
    if (no <= LAST_FILE_OPCODE) count[no] = n;
#include "ir/opcodes.def"
        count[SKIP] = 0; // its table entry says 1, but no record follows it
        return count;
    }();
    return table[static_cast<size_t>(op) & 0xFF];
}

bool type_layout(int kind, int version, std::string& layout) {
    const char tail_vector = version >= -84 ? 'b' : 'x', tail_cpp = version >= -81 ? 'b' : 'x';
    switch (kind) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case TK_LLONG:
    case TK_ULLONG: layout = "buubb"; return true;
    case TK_FLOAT:
    case TK_DOUBLE:
    case TK_LDOUBLE: layout = "uu"; return true;
    case TK_FIXED: layout = "bbtuu"; return true;
    case TK_TYPEDEF: layout = "ntuubbp"; return true;
    case TK_POINTER:
    case TK_REFERENCE: layout = "tuu"; return true;
    case TK_QUALIFIED: layout = "tuuu"; return true;
    case TK_ARRAY:
        layout = "tuuubb";
        layout += version >= -76 ? 'b' : 'x';
        layout += version == -75 || version == -74 ? 'b' : 'x';
        return true;
    case TK_PTM: layout = "ttuu"; return true;
    case TK_FUNCTION: layout = "tbbbb"; return true;
    case TK_PARAM: layout = "tbun"; return true;
    case TK_ENUM:
        layout = "nuut";
        layout += tail_cpp;
        layout += 'p';
        return true;
    case TK_ETOR: layout = "nvp"; return true;
    case TK_CSU:
        layout = "bnbbuub";
        layout += tail_vector;
        layout += tail_cpp;
        layout += 'p';
        return true;
    case TK_CSU_LONG:
        layout = "bnbbuuubbbbbbbbb";
        layout += tail_vector;
        layout += tail_cpp;
        layout += 'p';
        return true;
    case TK_MEMBER:
        layout = "untbs";
        layout += version >= -74 ? 'b' : 'x';
        layout += member_flag_first(kind, version) ? "bubx" : "ubbb";
        layout += 'p';
        return true;
    case TK_BASE: layout = "tsbb"; return true;
    case TK_ACCESS: layout = "ub"; return true;
    case TK_FRIEND_FUNC: layout = "nt"; return true;
    case TK_FRIEND_CLASS:
    case TK_NESTED: layout = "t"; return true;
    case TK_STATIC: layout = "ntb"; return true;
    case TK_METHOD: layout = "ntbsbbbb"; return true;
    case TK_COMPLEX: layout = "uut"; return true;
    case TK_VOID: layout.clear(); return true;
    case TK_LIST:
    case TK_END_LIST: layout = "b"; return true;
    default: return false;
    }
}

bool member_flag_first(int kind, int version) { return kind == TK_MEMBER && version == -86; }

size_t type_fields(int kind) {
    std::string layout;
    type_layout(kind, icode_version, layout);
    return static_cast<size_t>(
        std::count_if(layout.begin(), layout.end(), [](char c) { return c != 'n' && c != 'p'; }));
}

bool read_whole_file(const std::string& path, std::string& text) {
    FILE* in = fopen(path.c_str(), "rb");
    if (in == nullptr) return false;
    char block[65536];
    size_t n = 0;
    while ((n = fread(block, 1, sizeof block, in)) > 0) text.append(block, n);
    const bool good = ferror(in) == 0;
    fclose(in);
    return good;
}

} // namespace nxtext
