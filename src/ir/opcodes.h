// Opcode numbers and the tables that say what each opcode is. Everything here is made from opcodes.def.
#ifndef IR_OPCODES_H
#define IR_OPCODES_H

#include <cstdint>

enum OPCODE_NUMBER : int32_t {
#define OPCODE(no, name, text, n, op, inv, com, cls, flags) name = no,
#include "ir/opcodes.def"
    LAST_FILE_OPCODE = 142, // highest opcode our writers put into a file
    FILE_OPCODE_VREG = 163, // in a file this number is a low-level register
    LAST_OPCODE = SSA_CHI,
    ILLOP = 255 // an erased node; "none" in the tables
};

// What an opcode is to code that treats several alike; a column of the rows, so that no opcode has two.
enum OPCODE_CLASS : uint8_t {
    CLASS_OTHER,
    CLASS_LVALUE,     // NAME, UMULT, STDOT, STREF: designates an object
    CLASS_ARITHMETIC, // PLUS MINUS MULT DIV MOD ANDB ORB XORB: two operands of the type of the result
    CLASS_SHIFT,      // SLL, SRL: only the left operand has the type of the result
    CLASS_UNARY,      // UMINUS NOTB ABS SQR SQRT: one operand of the type of the result
    CLASS_COMPARISON, // EQ to UGT: two operands of one type, a result of 0 or 1
    CLASS_ASG,        // ASG
    CLASS_OP_ASG,     // PLUSASG to SRLASG: one for each opcode of CLASS_ARITHMETIC and CLASS_SHIFT
    CLASS_COPY,       // STASG, ARASG: assignment of a whole struct or array
    CLASS_INCREMENT,  // PLUSPLUS, MINMIN
    CLASS_CALL,       // CALL, UCALL: calls through an address
    CLASS_BUILTIN,    // ICALL, UICALL, MCALL, UMCALL: calls of a builtin by its name
};

// Tables of 256 bytes indexed by opcode; 255 stands for "none" and for numbers that are not used.
extern const uint8_t number_of_operands[256];
extern const uint8_t op_of_opASG[256];
extern const uint8_t boolean_inv[256];
extern const uint8_t boolean_result[256]; // 1 where the result is 0 or 1 of type int, else 0
extern const uint8_t commute_inv[256];
extern const uint8_t side_effects[256];           // 1 where evaluation has a side effect or the opcode is a statement
extern const OPCODE_CLASS opcode_classes[256];    // CLASS_OTHER for unused numbers
extern const char* const node_operator_name[256]; // null for unused numbers

// Text of fixed width (eight characters) for listings; " ?ILLOP?" for an erased node, "?NODE?" for an unknown number.
const char* opname(int op);

// The class of any number; CLASS_OTHER outside the table.
inline OPCODE_CLASS opcode_class(int op) { return op >= 0 && op < 256 ? opcode_classes[op] : CLASS_OTHER; }

inline bool opcode_is_lvalue(int op) { return opcode_class(op) == CLASS_LVALUE; }
inline bool opcode_is_binary_arithmetic(int op) { return opcode_class(op) == CLASS_ARITHMETIC; }
inline bool opcode_is_shift(int op) { return opcode_class(op) == CLASS_SHIFT; }
inline bool opcode_is_comparison(int op) { return opcode_class(op) == CLASS_COMPARISON; }
inline bool opcode_is_unsigned_comparison(int op) { return op >= ULE && op <= UGT; } // never EQ and NEQ
inline bool opcode_is_op_assignment(int op) { return opcode_class(op) == CLASS_OP_ASG; }
inline bool opcode_is_increment(int op) { return opcode_class(op) == CLASS_INCREMENT; }
inline bool opcode_is_call(int op) { return opcode_class(op) == CLASS_CALL; }
inline bool opcode_is_builtin_call(int op) { return opcode_class(op) == CLASS_BUILTIN; }

// The plain assignment, the ten assignment operators, STASG and ARASG; not ++ and --.
inline bool opcode_is_ASG(int op) {
    OPCODE_CLASS c = opcode_class(op);
    return c == CLASS_ASG || c == CLASS_OP_ASG || c == CLASS_COPY;
}
// Those, ++ and --: whatever stores into its left operand.
inline bool opcode_is_store(int op) { return opcode_is_ASG(op) || opcode_is_increment(op); }

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
