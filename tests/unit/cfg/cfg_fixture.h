// A fixture for tests that build a function as a flat statement list or as blocks, and an interpreter for such
// functions.
//
// A program under test assigns numbers to the symbol `out`: each assignment is an event. The value of an input symbol
// is a hash of its number, of the seed and of the count of events so far, so that two programs that give the same
// events make the same decisions, however often either of them asks.
#ifndef UNIT_CFG_FIXTURE_H
#define UNIT_CFG_FIXTURE_H

#include "cfg/bbutils.h"
#include "cfg/buildcfg.h"
#include "cfg/layout.h"
#include "cfg/seqtrees.h"
#include "cfg/simpcfg.h"
#include "cfg/validate.h"
#include "icode/if.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

struct RUN_RESULT {
    std::vector<long> events;
    std::string end; // "return", "return <value>", "stuck", "limit"
    long jumps = 0;  // what a written program would pay, for runs over blocks

    bool operator==(const RUN_RESULT& other) const { return events == other.events && end == other.end; }
    friend std::ostream& operator<<(std::ostream& to, const RUN_RESULT& run) {
        for (long event : run.events) to << event << ' ';
        return to << run.end;
    }
};

class CfgTest : public ::testing::Test {
  protected:
    void SetUp() override {
        tp_alloc()->init_type_pkg();
        tp->adopt_basic_type(tp->mk_ptr(tp->void_type, 32, 32));
        tp->basic_types_changed();
        int_type = tp->int_type();
        option_queries.opt_level = [] { return level; };
        level = 2;
        TYPE* type = tp->mk_func(int_type, false, false, true, 0);
        tp->type_frozen(type);
        function_type = type;
        function = new SYMTAB("_f", 0, 0, SC_EXTERN_DEF, 0, type, type, 0, nullptr, 0);
        currfunc = function;
        start_function();
        out = variable("out", int_type, 0);
        for (int i = 0; i < 6; i++) input.push_back(variable(("in" + std::to_string(i)).c_str(), int_type, 0));
    }

    void TearDown() override {
        drop_function();
        currfunc = nullptr;
        option_queries.opt_level = nullptr;
        tp_release();
    }

    void start_function() {
        f = new FUNINFO;
        f->symbol = function;
        currfuninfo = f;
        for (int i = 0; i < 3; i++) LS_open(f);
    }
    void drop_function() {
        for (BBLK*& bb : std::vector<BBLK*>(f->blocks))
            if (bb != nullptr) {
                erase_bblock(bb);
                delete bb;
            }
        erase_tree_list(f->statements);
        erase_tree(f->arg_tree);
        LS_erase(f->scopes);
        delete f;
        f = currfuninfo = nullptr;
    }

    SYMTAB* variable(const char* name, TYPE* type, uint8_t at_level, uint8_t sclass = SC_AUTO) {
        SYMTAB* sym = new SYMTAB(name, type->size(), 0, at_level == 0 ? static_cast<uint8_t>(SC_STATIC) : sclass, 0,
                                 type, type, type->align(), nullptr, 0);
        sym->level = at_level;
        return sym;
    }
    // A parameter and its local copy; the local is given.
    SYMTAB* parameter(const char* name, TYPE* type = nullptr) {
        if (type == nullptr) type = int_type;
        SYMTAB* formal = variable(name, type, 1, SC_PARM_REG);
        formal->sequence = static_cast<uint32_t>(formals.size());
        formals.push_back(formal);
        locals.push_back(variable(name, type, 2));
        return locals.back();
    }
    NODE* prolog() {
        NODE* tree = nullptr;
        for (size_t i = 0; i < formals.size(); i++) {
            NODE* asg = mk_ASG(mk_NAME(locals[i]), mk_NAME(formals[i]));
            tree = tree == nullptr ? asg : maketree(PCOMMA, tree, asg, tp->void_type);
        }
        return tree;
    }

    // ---- trees
    NODE* num(long n) { return mk_ICON(INT65(n), int_type); }
    NODE* in(int i) { return mk_NAME(input[i]); }
    NODE* event(long n) { return mk_ASG(mk_NAME(out), num(n)); }
    NODE* binary(int op, NODE* a, NODE* b) { return maketree(op, a, b, int_type); }
    NODE* label(int n) { return mktree(LABELDEF, nullptr, nullptr, int_type, nullptr, INT65(n)); }
    NODE* go(int n) { return maketree(BRANCH, mk_LABELREF(INT65(n)), nullptr, int_type); }
    NODE* unless(NODE* cond, int n) { return maketree(CBRANCH, cond, mk_LABELREF(INT65(n)), int_type); }
    NODE* case_of(long v, int n) { return maketree(CASE, num(v), mk_LABELREF(INT65(n)), int_type); }
    // The DEFAULT only if `otherwise` is not 0.
    NODE* switch_on(NODE* sel, std::vector<std::pair<long, int>> cases, int otherwise) {
        NODE* list = nullptr;
        auto append = [&](NODE* entry) { list = list == nullptr ? entry : maketree(COMMA, list, entry, int_type); };
        for (auto [value, n] : cases) append(case_of(value, n));
        if (otherwise != 0) append(maketree(DEFAULT, mk_LABELREF(INT65(otherwise)), nullptr, int_type));
        NODE* node = maketree(SWITCH, sel, list, int_type);
        node->u.lval = INT65(static_cast<uint32_t>(cases.size()));
        return node;
    }
    NODE* ret(NODE* value) { return maketree(RETURN, mk_NAME(function), value, int_type); }
    NODE* uret() { return maketree(URETURN, mk_NAME(function), nullptr, tp->void_type); }
    NODE* pragma(int kind) {
        NODE* node = maketree(PPRAGMA, nullptr, nullptr, tp->void_type);
        node->pragma = new PRAGMA(static_cast<uint32_t>(kind));
        return node;
    }
    NODE* self_call(std::vector<NODE*> args) {
        NODE* callee = mk_UAND(mk_NAME(function), tp->mk_ptr(function_type));
        if (args.empty()) return maketree(UCALL, callee, nullptr, int_type);
        NODE* list = args[0];
        for (size_t i = 1; i < args.size(); i++) list = maketree(COMMA, list, args[i], int_type);
        return maketree(CALL, callee, list, int_type);
    }

    // ---- functions
    void body(const std::vector<NODE*>& statements) {
        for (NODE* stmt : statements) f->statements = mkelist(stmt, f->statements, nullptr);
    }
    void build(const std::vector<NODE*>& statements) {
        body(statements);
        seq_trees();
        buildcfg();
        expect_valid("buildcfg");
    }
    void expect_valid(const char* step) {
        for (auto* find : {&sharing_faults, &cfg_faults, &stmt_faults})
            for (const std::string& fault : find()) ADD_FAILURE() << step << ": " << fault;
    }
    int count_blocks() {
        int n = 0;
        for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink) n++;
        return n;
    }
    // The block that holds event n, or null.
    BBLK* block_with_event(long n) {
        for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
            for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
                if (cell->first->op == ASG && cell->first->left->u.sym == out && cell->first->right->op == ICON &&
                    cell->first->right->u.lval == INT65(n))
                    return bb;
        return nullptr;
    }

    // ---- running
    struct MACHINE {
        uint64_t seed;
        RUN_RESULT result;
        long silent = 0; // steps since the last event
        std::map<const SYMTAB*, long> values;
    };
    static constexpr size_t most_events = 120;
    static constexpr long most_silent_steps = 3000;

    static uint64_t mix(uint64_t x) {
        x += 0x9E3779B97F4A7C15ull;
        x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
        x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
        return x ^ (x >> 31);
    }
    long eval(MACHINE& m, const NODE* e) {
        switch (e->op) {
        case ICON: return static_cast<long>(e->u.lval.to_i64());
        case NAME:
            for (size_t i = 0; i < input.size(); i++)
                if (e->u.sym == input[i])
                    return static_cast<long>(mix(m.seed * 64 + i + 1000 * m.result.events.size()) % 5);
            return m.values[e->u.sym];
        case ASG: {
            long v = eval(m, e->right);
            if (e->left->u.sym == out) {
                if (m.result.events.size() < most_events) m.result.events.push_back(v);
                if (m.result.events.size() == most_events) m.result.end = "limit"; // whatever comes in this block
                m.silent = 0;
            } else
                m.values[e->left->u.sym] = v;
            return v;
        }
        case PCOMMA:
        case COMMAOP: eval(m, e->left); return eval(m, e->right);
        case PLUS: return eval(m, e->left) + eval(m, e->right);
        case MINUS: return eval(m, e->left) - eval(m, e->right);
        case EQ: return eval(m, e->left) == eval(m, e->right);
        case NEQ: return eval(m, e->left) != eval(m, e->right);
        case LT: return eval(m, e->left) < eval(m, e->right);
        case GE: return eval(m, e->left) >= eval(m, e->right);
        case GT: return eval(m, e->left) > eval(m, e->right);
        case LE: return eval(m, e->left) <= eval(m, e->right);
        case PPRAGMA:
        case ASM:
        case NASSERT: return 0;
        default: ADD_FAILURE() << "the test's interpreter does not know " << opname(e->op); return 0;
        }
    }
    // Whether the run is over its limits.
    bool spent(MACHINE& m) {
        if (++m.silent > most_silent_steps) m.result.end = "stuck";
        return !m.result.end.empty();
    }
    void finish(MACHINE& m, const std::string& how) {
        if (m.result.end.empty()) m.result.end = how;
    }
    // The target of a control statement, or null if control goes on behind it or the function ends.
    const NODE* step(MACHINE& m, const NODE* stmt) {
        switch (stmt->op) {
        case LABELDEF: return nullptr;
        case BRANCH: return stmt->left;
        case CBRANCH: return eval(m, stmt->left) == 0 ? stmt->right : nullptr;
        case IF: return eval(m, stmt->left) != 0 ? stmt->right->left : stmt->right->right;
        case SWITCH: {
            long v = eval(m, stmt->left);
            for (const NODE* entry : comma_list(stmt->right)) {
                if (entry->op == DEFAULT) return entry->left;
                if (entry->left->u.lval == INT65(v)) return entry->right;
            }
            return nullptr;
        }
        case RETURN: finish(m, "return " + std::to_string(eval(m, stmt->right))); return nullptr;
        case URETURN: finish(m, "return"); return nullptr;
        default: eval(m, stmt); return nullptr;
        }
    }
    // Runs a flat list in source order.
    RUN_RESULT run_list(const std::vector<NODE*>& list, uint64_t seed, std::map<const SYMTAB*, long> values = {}) {
        std::map<int32_t, size_t> place;
        for (size_t i = 0; i < list.size(); i++)
            if (list[i]->op == LABELDEF) place.emplace(static_cast<int32_t>(list[i]->u.lval.low), i);
        MACHINE m{seed, {}, 0, std::move(values)};
        size_t at = 0;
        while (!spent(m)) {
            if (at >= list.size()) {
                m.result.end = "return";
                break;
            }
            const NODE* target = step(m, list[at]);
            if (!m.result.end.empty()) break;
            at = target != nullptr ? place.at(static_cast<int32_t>(target->u.lval.low)) : at + 1;
        }
        return m.result;
    }
    // Runs over the blocks, counting what the layout costs.
    RUN_RESULT run_blocks(uint64_t seed, std::map<const SYMTAB*, long> values = {}) {
        MACHINE m{seed, {}, 0, std::move(values)};
        const BBLK* bb = f->bb_list;
        while (!spent(m)) {
            const NODE* target = nullptr;
            const NODE* last = nullptr;
            for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) target = step(m, last = cell->first);
            if (!m.result.end.empty()) break;
            if (target == nullptr) {
                ADD_FAILURE() << "control falls out of a block";
                break;
            }
            const BBLK* far = target->lbl->bb;
            if (last->op == SWITCH || (last->op == BRANCH && far != bb->dflink)) m.result.jumps++;
            if (last->op == IF) {
                bool one_follows =
                    last->right->left->lbl->bb == bb->dflink || last->right->right->lbl->bb == bb->dflink;
                m.result.jumps += one_follows || far == last->right->left->lbl->bb ? 1 : 2;
            }
            bb = far;
        }
        return m.result;
    }

    TYPE* int_type = nullptr;
    TYPE* function_type = nullptr;
    SYMTAB* function = nullptr;
    SYMTAB* out = nullptr;
    std::vector<SYMTAB*> input, formals, locals;
    FUNINFO* f = nullptr;
    inline static int level = 2;
};

#endif
