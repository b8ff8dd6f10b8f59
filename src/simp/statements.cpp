// Simplification of a whole function and the tidying of its statements afterwards.
#include "simp/fold.h"
#include "simp/rules.h"

#include "cfg/simpcfg.h"
#include "cfg/terminators.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/vars.h"

#include <ctime>

namespace {

// (a, c) as the condition or selector of a control statement: a becomes a statement in front of it.
void hoist_from_terminator(LIST* cell) {
    NODE* stmt = cell->first;
    if (stmt->op != IF && stmt->op != SWITCH) return;
    while (stmt->left->op == COMMAOP) {
        NODE* comma = stmt->left;
        stmt->left = comma->right;
        cell->rest = mkelist(stmt, cell->rest, cell->psn);
        cell->first = comma->left;
        erase_node(comma);
        cell = cell->rest;
    }
}

// Statements without an effect go; ",OP" at the root becomes statements.
void tidy_statements(BBLK* bb) {
    for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
        if (cell->rest == nullptr) hoist_from_terminator(cell);
    bb->stmts = promote_toplevel_COMMAOPs_in_list(bb->stmts);
    for (LIST** link = &bb->stmts; *link != nullptr;) {
        LIST* cell = *link;
        int op = cell->first->op;
        bool is_call_or_step = opcode_is_call(op) || opcode_is_increment(op);
        if (is_call_or_step || !side_effects[op & 255]) cell->first = peel_for_effect(cell->first);
        if (cell->first == nullptr) {
            *link = cell->rest;
            delete cell;
        } else
            link = &cell->rest;
    }
    bb->stmts = promote_toplevel_COMMAOPs_in_list(bb->stmts);
}

size_t count_nodes_of_function() {
    size_t nodes = 0;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) nodes += count_nodes_in_tree(cell->first);
    return nodes;
}

double processor_seconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void timed_simp_all_trees() {
    simp_time.nodes += count_nodes_of_function();
    double start = processor_seconds();
    simp_all_trees();
    simp_time.seconds += processor_seconds() - start;
}

} // namespace

SIMP_TIME simp_time;

void simplify_function() {
    if (opt_level() < 1) return;
    if (pass_debug("simp_stats") != 0)
        timed_simp_all_trees();
    else
        simp_all_trees();
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) tidy_statements(bb);
    simpcfg(false, false);
}
