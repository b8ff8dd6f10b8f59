// Opcode numbers and the tables that say what each opcode is. Everything here is made from opcodes.def.
#ifndef IR_OPCODES_H
#define IR_OPCODES_H

#include <cstdint>

enum OPCODE_NUMBER : int32_t {
#define OPCODE(no, name, text, n, op, inv, com, flags) name = no,
#include "ir/opcodes.def"
    LAST_FILE_OPCODE = 142, // highest opcode our writers put into a file
    FILE_OPCODE_VREG = 163, // in a file this number is a low-level register
    LAST_OPCODE = SSA_CHI,
    ILLOP = 255 // an erased node; "none" in the tables
};

// Tables of 256 bytes indexed by opcode; 255 stands for "none" and for numbers that are not used.
extern const uint8_t number_of_operands[256];
extern const uint8_t op_of_opASG[256];
extern const uint8_t boolean_inv[256];
extern const uint8_t boolean_result[256]; // 1 where the result is 0 or 1 of type int, else 0
extern const uint8_t commute_inv[256];
extern const uint8_t side_effects[256];           // 1 where evaluation has a side effect or the opcode is a statement
extern const char* const node_operator_name[256]; // null for unused numbers

// Text of fixed width (eight characters) for listings; " ?ILLOP?" for an erased node, "?NODE?" for an unknown number.
const char* opname(int op);

// True for the plain assignment, the ten assignment operators, STASG and ARASG; not for ++ and --.
bool opcode_is_ASG(int op);

// The file's node table: one entry an opcode, filled by if_node_table_init() (icode/if_nodes).
struct IF_NODE_INFO {
    int op = ILLOP; // ILLOP: no entry
    const char* name = nullptr;
    int operands = 0;
};
extern IF_NODE_INFO if_node_info[256];
void if_enter_node(int number, const char* name, int operands);

// Checks the tables against the file's node table, enters the internal opcodes there, and ends the run on a
// disagreement. Call after if_node_table_init().
void init_opcode_tables();

#endif
