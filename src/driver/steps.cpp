#include "driver/steps.h"

#include "cfg/validate.h"
#include "driver/debug_log.h"
#include "driver/dump_graph.h"
#include "driver/pending.h"
#include "driver/safealloc.h"
#include "driver/step_actions.h"
#include "ir/funinfo.h"
#include "ir/vars.h"

#include <ctime>
#include <deque>
#include <malloc.h>
#include <memory>
#include <unordered_map>

pass_manager global_pass_manager;
std::vector<pass*> passes;

// Why the steps stand in this order.
#define BEFORE(first, second, why) {first, second, why},
const STEP_ORDER step_order[] = {
    BEFORE("pass 1", "intermission", "the call graph is analysed when every function has been looked at")
        BEFORE("intermission", "set call-graph order", "the order comes out of the analysis of the call graph") BEFORE(
            "set call-graph order", "pass 2 inits", "callees are optimized before they are spliced into their callers")
            BEFORE("pass 2 inits", "CPS", "path straightening wants the blocks after inlining") BEFORE(
                "pass 2 inits", "explode auto structs", "inlined bodies bring structs that fall apart into scalars")
                BEFORE("explode auto structs", "non-DD SSA CP", "SSA form is built for scalars only")
                    BEFORE("non-DD clone SSA NASSERTs", "non-DD SSA CP", "constants are found from cloned assertions")
                        BEFORE("non-DD SSA CP", "non-DD SSA EDA", "propagation leaves dead assignments behind")
                            BEFORE("fast_CP(0,1)", "forward_substitution", "loops are recognised in propagated code")
                                BEFORE("forward_substitution", "undeltafy",
                                       "induction variables are written in closed form first")
                                    BEFORE("undeltafy", "unroll_and_jam",
                                           "dependence tests want closed forms of subscripts")
                                        BEFORE("SSA_reg_promote_with_simpcfg", "global opts",
                                               "the loop tree is gone before blocks are merged")
                                            BEFORE("global opts", "local opts",
                                                   "what stays common inside a block is left to local elimination")
                                                BEFORE("local opts", "pass 2 trailer",
                                                       "what is written is what the last step leaves")};
#undef BEFORE
const int step_order_count = sizeof step_order / sizeof step_order[0];

// --------------------------------------------------------------------------------------------------------- the table

namespace {

enum STEP_KIND { P, B };
enum STEP_NEED { OPT, REQ };
struct STEP_ROW {
    STEP_KIND kind;
    const char* name;
    pass::ACTION action;
    STEP_NEED need;
};
const STEP_ROW step_rows[] = {
#define STEP(kind, name, action, need) {kind, name, action, need},
#include "driver/steps.def"
};
constexpr size_t step_count = sizeof step_rows / sizeof step_rows[0];

std::vector<std::unique_ptr<pass>> owned_passes;

pass* make_step(const STEP_ROW& row) {
    bool optional = row.need == OPT;
    if (row.kind == B)
        owned_passes.push_back(std::make_unique<barrier_pass>(row.name, row.action, optional));
    else
        owned_passes.push_back(std::make_unique<pass>(row.name, row.action, optional));
    return owned_passes.back().get();
}

pass* last_step;
std::unordered_map<SYMTAB*, std::deque<pass*>> steps_table; // look-up only

} // namespace

void build_step_table() {
    free_step_table();
    for (size_t i = 0; i + 1 < step_count; i++) passes.push_back(make_step(step_rows[i]));
}

void make_last_step() {
    last_step = make_step(step_rows[step_count - 1]);
    for (SYMTAB* f : functions) {
        std::deque<pass*>& queue = steps_table[f];
        queue.assign(passes.begin(), passes.end());
        queue.push_back(last_step);
    }
}

void free_step_table() {
    steps_table.clear();
    passes.clear();
    owned_passes.clear();
    global_pass_manager.objects.clear();
    last_step = nullptr;
}

// ------------------------------------------------------------------------------------------------------ a step's run

namespace {

int steps_run;

// Bytes that the allocator has given out.
long bytes_in_use() { return static_cast<long>(mallinfo2().uordblks); }

void list_blocks() {
    if (print_debug && currfuninfo != nullptr && currfuninfo->bb_list != nullptr) prbbinfix();
}

// The verifier: always in debug builds, else on request.
bool verify_steps() {
#ifdef NX_DEBUG
    return true;
#else
    return pass_enable("verify") != 0;
#endif
}

} // namespace

void reset_step_gate() { steps_run = 0; }

bool step_gate(const char* what) {
    int limit = pass_debug("step_limit");
    if (limit == 0) return true; // not given
    const char* where = currfunc != nullptr ? currfunc->name : "the file";
    if (limit < 0 || steps_run >= limit) return false;
    if (++steps_run == limit) fprintf(stderr, "step limit %d: last step \"%s\" in %s\n", limit, what, where);
    return true;
}

void pass::run() {
    if (optional && !step_gate(name.c_str())) return;
    if (print_debug) {
        dprintf("\n\n\t\t\t---------- ENTERING step %d '%s' ----------\n", serial, name.c_str());
        list_blocks();
    }
    long bytes_before = print_debug ? bytes_in_use() : 0;
    clock_t start = print_debug ? clock() : 0;
    action();
    if (print_debug) {
        dprintf("(%.1f sec for pass.)\n", static_cast<double>(clock() - start) / 1000000);
        dprintf("(%d net bytes allocated.)\n", static_cast<int>(bytes_in_use() - bytes_before));
        dprintf("\n\n\n\t\t\t---------- EXITING step %d '%s' ----------\n", serial, name.c_str());
        list_blocks();
        fflush(fdebug);
    }
    dump_flow_graph(serial);
    if (verify_steps() && currfuninfo != nullptr && currfuninfo->bb_list != nullptr) validate_function(name.c_str());
}

// ------------------------------------------------------------------------------------------------------ the scheduler

namespace {

bool steps_are_left() {
    for (SYMTAB* f : functions)
        if (!steps_table[f].empty()) return true;
    return false;
}

void set_current_function(SYMTAB* f) {
    currfuninfo = make_FUNINFO(skip_name_prefix(f->name));
    currfunc = f;
    if (currfuninfo->symbol != f && currfuninfo->symbol != nullptr)
        currfuninfo->symbol = get_sym_def_for_decl(currfuninfo->symbol);
    OPTASSERT(currfunc == currfuninfo->symbol);
}

void run_to_barrier(SYMTAB* f) {
    std::deque<pass*>& queue = steps_table[f];
    bool first = true;
    while (!queue.empty() && !queue.front()->is_barrier()) {
        // Each step finds its function again: some steps leave without one.
        set_current_function(f);
        if (first) write_debug_header();
        first = false;
        queue.front()->run();
        queue.pop_front();
    }
    if (!first) close_function_log();
}

// The barrier at which all functions have arrived, or null.
pass* take_barrier() {
    pass* barrier = nullptr;
    for (SYMTAB* f : functions) {
        std::deque<pass*>& queue = steps_table[f];
        if (queue.empty()) continue;
        if (barrier == nullptr) barrier = queue.front();
        OPTASSERT(barrier == queue.front());
        queue.pop_front();
    }
    return barrier;
}

} // namespace

void run_scheduler() {
    while (steps_are_left()) {
        // By place: a step may append functions.
        for (size_t i = 0; i < functions.size(); i++) run_to_barrier(functions[i]);
        currfunc = nullptr;
        currfuninfo = nullptr;
        if (pass* barrier = take_barrier()) barrier->run();
    }
}
