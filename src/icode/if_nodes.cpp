// The node table of the file: which opcodes a file may hold, and how many operand trees follow each.
#include "icode/if.h"
#include "ir/opcodes.h"

void if_node_table_init() {
    for (IF_NODE_INFO& info : if_node_info) info = {};
    for (int op = 0; op <= LAST_FILE_OPCODE; op++)
        if (node_operator_name[op] != nullptr) if_enter_node(op, node_operator_name[op], number_of_operands[op]);
    if_enter_node(FILE_OPCODE_VREG, "VREG", 0);
}
