#include "ir/opcodes.h"

#include "ir/vars.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint8_t NONE = 255;
enum { F_BOOL = 1, F_EFFECT = 2, F_INTERNAL = 4 };

struct OPCODE_ROW {
    uint8_t number;
    const char* name;
    const char* text;
    uint8_t operands, op, inv, com;
    OPCODE_CLASS cls;
    uint8_t flags;
};
constexpr OPCODE_ROW rows[] = {
#define OPCODE(no, name, text, n, op, inv, com, cls, flags) {no, #name, text, n, op, inv, com, CLASS_##cls, flags},
#include "ir/opcodes.def"
};

// The tables are const arrays with external linkage; each takes its initialiser from the rows, so that none can be
// edited apart from the others.
constexpr uint8_t table_entry(int number, uint8_t OPCODE_ROW::*column, uint8_t none) {
    for (const OPCODE_ROW& row : rows)
        if (row.number == number) return row.*column;
    return none;
}
constexpr uint8_t flag_entry(int number, int flag) {
    for (const OPCODE_ROW& row : rows)
        if (row.number == number) return (row.flags & flag) != 0;
    return 0;
}
constexpr OPCODE_CLASS class_entry(int number) {
    for (const OPCODE_ROW& row : rows)
        if (row.number == number) return row.cls;
    return CLASS_OTHER;
}
constexpr const char* name_entry(int number) {
    for (const OPCODE_ROW& row : rows)
        if (row.number == number) return row.name;
    return nullptr;
}
} // namespace

#define ROW8(M, b) M(b), M(b + 1), M(b + 2), M(b + 3), M(b + 4), M(b + 5), M(b + 6), M(b + 7)
#define ROW64(M, b)                                                                                                    \
    ROW8(M, b), ROW8(M, b + 8), ROW8(M, b + 16), ROW8(M, b + 24), ROW8(M, b + 32), ROW8(M, b + 40), ROW8(M, b + 48),   \
        ROW8(M, b + 56)
#define ROW256(M) ROW64(M, 0), ROW64(M, 64), ROW64(M, 128), ROW64(M, 192)

#define M_OPERANDS(i) table_entry(i, &OPCODE_ROW::operands, NONE)
#define M_OPASG(i) table_entry(i, &OPCODE_ROW::op, NONE)
#define M_INV(i) table_entry(i, &OPCODE_ROW::inv, NONE)
#define M_COM(i) table_entry(i, &OPCODE_ROW::com, NONE)
#define M_BOOL(i) flag_entry(i, F_BOOL)
#define M_EFFECT(i) flag_entry(i, F_EFFECT)
#define M_CLASS(i) class_entry(i)
#define M_NAME(i) name_entry(i)

constexpr uint8_t number_of_operands[256] = {ROW256(M_OPERANDS)};
constexpr uint8_t op_of_opASG[256] = {ROW256(M_OPASG)};
constexpr uint8_t boolean_inv[256] = {ROW256(M_INV)};
constexpr uint8_t commute_inv[256] = {ROW256(M_COM)};
constexpr uint8_t boolean_result[256] = {ROW256(M_BOOL)};
constexpr uint8_t side_effects[256] = {ROW256(M_EFFECT)};
constexpr OPCODE_CLASS opcode_classes[256] = {ROW256(M_CLASS)};
constexpr const char* const node_operator_name[256] = {ROW256(M_NAME)};

const char* opname(int op) {
    static const auto padded = [] {
        std::array<std::array<char, 9>, 256> text{};
        for (const OPCODE_ROW& row : rows) snprintf(text[row.number].data(), 9, "%-8s", row.text);
        return text;
    }();
    if (op == ILLOP) return " ?ILLOP?";
    if (op < 0 || op > 255 || node_operator_name[op] == nullptr) return "?NODE?";
    return padded[op].data();
}

IF_NODE_INFO if_node_info[256];

void if_enter_node(int number, const char* name, int operands) { if_node_info[number] = {number, name, operands}; }

namespace {

bool file_entry_is(int number, const char* name, int operands) {
    const IF_NODE_INFO& info = if_node_info[number];
    return info.op == number && info.operands == operands && info.name != nullptr && strcmp(info.name, name) == 0;
}

} // namespace

void init_opcode_tables() {
    if (print_debug) dprintf(" *** VALIDATING OPCODE TABLES\n");
    if (!file_entry_is(2, "NAME", 0) || !file_entry_is(10, "UMINUS", 1) || !file_entry_is(70, "CALL", 2)) {
        fputs("INTERNAL ERROR: if_node_info[] mismatch\n", stderr);
        abort_optimizer();
    }
    for (const OPCODE_ROW& row : rows)
        if (row.flags & F_INTERNAL) if_enter_node(row.number, row.name, row.operands);
    bool agree = true;
    for (int op = 0; op <= LAST_OPCODE; op++) {
        if (node_operator_name[op] == nullptr) continue;
        const IF_NODE_INFO& info = if_node_info[op];
        const char* file_name = info.name != nullptr ? info.name : "";
        if (info.op == op && info.operands == number_of_operands[op] && strcmp(file_name, node_operator_name[op]) == 0)
            continue;
        agree = false;
        if (fdebug != nullptr) {
            dprintf("OP#%d: %d || %d || (%d != %d) <<%s>> <<%s>>\n", op, info.op, info.op, info.operands,
                    number_of_operands[op], file_name, node_operator_name[op]);
            dprintf("\tNo match for %s\n", node_operator_name[op]);
        }
    }
    if (!agree) abort_optimizer();
    if (print_debug) dprintf(" *** OPCODE TABLES ARE OK\n\n");
}
