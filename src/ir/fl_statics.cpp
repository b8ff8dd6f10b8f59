// Turn function-local statics into autos where nothing needs their value between calls.
//
//     int f(int a) { static int t;  t = a * a;  return t + 1; }        ->        int t; in place of the static
//
// Why:    a static lives in memory and every call and pointer may change it; an auto may live in a register.
// Rule:   a scalar static qualifies if every read of it is preceded, on every path from the function's entry, by a write
//         of the whole of it in the same activation, with no call in between. So
//           - the initial value and the value left by an earlier call are never read;
//           - no other activation can write between a write and the reads that see it: whatever could enter the function
//             again, directly or through others, is a call, and a call ends what earlier writes have proved. Each
//             activation of a recursive function may thus have a variable of its own.
//         A call of any function counts; a builtin that only computes does not. Interrupt functions, which may run at any
//         point of themselves, do not take part, nor functions with assembly text, which may name the static.
// Skips:  volatile; restrict; aggregates; statics whose address is taken, in the function, in the exception table or in
//         an initialiser; statics that are accessed as something of another size.
// Method: forward must-be-assigned analysis, one bit a static. A block gives: what it assigns behind its last call,
//         whether it holds a call, and what it reads before either.
// Needs:  statements in blocks, exact predecessors.     Keeps: blocks, edges.
// Cost:   a walk over the nodes; blocks times the nesting of loops, one machine word each.
#include "icode/if.h"
#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/tree_slots.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using MASK = uint64_t;
constexpr size_t max_statics = 64; // one bit each in a MASK; further statics of a function stay as they are

struct STATIC {
    SYMTAB* symbol;
    MASK bit;
};

// What is known at a point of a block.
struct FLOW {
    MASK assigned = 0;      // since the block's start and since the last call
    bool called = false;    // there was a call since the block's start
};

FLOW join(FLOW a, FLOW b) { return FLOW{a.assigned & b.assigned, a.called || b.called}; }

struct BLOCK_SUMMARY {
    FLOW end;
    MASK needs = 0;         // read when neither an assignment nor a call stood before it in the block
    MASK in = ~MASK{0};     // assigned on every path to the block
    MASK out() const { return end.assigned | (end.called ? 0 : in); }
};

bool is_assigning(int op) { return opcode_is_ASG(op) || op == PLUSPLUS || op == MINMIN; }
bool is_call(int op) { return op == CALL || op == UCALL || op == MCALL || op == UMCALL; }

class FL_STATICS {
  public:
    explicit FL_STATICS(FUNINFO* f) : f_(f) {}
    ~FL_STATICS() {
        for (auto& s : statics_) s->symbol->link[0] = nullptr;
    }

    void run() {
        note_declared_statics();
        collect();
        if (statics_.empty() || function_is_opaque()) return;
        find_misuse();
        if (possible_ == 0) return;
        summarise_blocks();
        propagate();
        for (const BLOCK_SUMMARY& block : blocks_) possible_ &= ~(block.needs & ~block.in);
        if (possible_ != 0) find_initialiser_uses();
        accept();
    }

  private:
    // ---- candidates

    // The statics that the function declares, by their pragma, in the order in which the statements name them.
    void note_declared_statics() {
        for_each_statement(f_, [&](LIST* cell) {
            walk_tree_top_down(cell->first, [&](NODE* node) {
                SYMTAB* sym = node->op == NAME ? node->u.sym : nullptr;
                if (sym == nullptr || sym->level != 0 || sym->sclass != SC_STATIC || (sym->flags & SYM_FL_STATIC))
                    return true;
                const PRAGMA* scoping = symbol_has_pragma(sym, PRAGMA::PRAGMA_SCOPING_FUNC);
                if (scoping == nullptr || strcmp(skip_name_prefix(scoping->arg(0)), f_->name) != 0) return true;
                sym->flags |= SYM_FL_STATIC;
                f_->fl_statics.push_back(sym);
                return true;
            });
        });
    }

    void collect() {
        for (SYMTAB* sym : f_->fl_statics) {
            if (statics_.size() == max_statics) return;
            uint32_t quals = sym->type->qual_kind();
            if (!sym->type->is_scalar() || (quals & (QUAL_VOLATILE | QUAL_RESTRICT)) || sym->link[0] != nullptr) continue;
            if ((sym->scqual & CQ_VOLATILE) || symbol_has_pragma(sym, PRAGMA::PRAGMA_SYM_IS_REFERENCED)) continue;
            if (sym->sclass != SC_STATIC || sym_appears_in_EHT(sym)) continue;
            statics_.push_back(std::make_unique<STATIC>(STATIC{sym, MASK{1} << statics_.size()}));
            sym->link[0] = statics_.back().get();
            possible_ |= statics_.back()->bit;
        }
    }

    bool function_is_opaque() const {
        if ((f_->symbol->scqual & CQ_INTERRUPT) || (f_->flags & FUN_is_interrupt)) return true;
        bool opaque = false;
        for_each_statement(f_, [&](LIST* cell) {
            if (cell->first->op == ASM && !tree_is_ASM_comment(cell->first)) opaque = true;
        });
        return opaque;
    }

    MASK bit_of(const NODE* node) const {
        if (node->op != NAME || node->u.sym == nullptr || node->u.sym->link[0] == nullptr) return 0;
        return static_cast<STATIC*>(node->u.sym->link[0])->bit & possible_;
    }

    // Addresses and accesses of another width, and names that stand where no value is read or written.
    void find_misuse() {
        for_each_statement(f_, [&](LIST* cell) {
            walk_tree_top_down(cell->first, [&](NODE* node) {
                if (MASK bit = bit_of(node))
                    if (node->type->size() != node->u.sym->size || node->type->is_volatile()) possible_ &= ~bit;
                if (node->op == UAND || node->op == ARGREF || node->op == STDOT) {
                    const NODE* object = node->left;
                    while (object->op == STDOT || object->op == COMMAOP)
                        object = object->op == STDOT ? object->left : object->right;
                    possible_ &= ~bit_of(object);
                }
                return true;
            });
        });
    }

    // ---- one block

    void read(MASK bit) {
        if (flow_.assigned & bit) return;
        if (flow_.called)
            possible_ &= ~bit;
        else
            summary_->needs |= bit;
    }
    void write(MASK bit) { flow_.assigned |= bit; }
    void call() { flow_ = FLOW{0, true}; }

    // Evaluation goes through a stack of tasks, in the order in which the parts of an expression are evaluated. Where
    // only one of two parts runs, the flow before them is kept and the flows behind them are joined.
    enum TASK_KIND { EVALUATE, READ, WRITE, CALLS, KEEP, JOIN_SKIPPED, OTHER_ARM, JOIN_ARMS };
    struct TASK {
        TASK_KIND kind;
        const NODE* node;
    };

    void evaluate(const NODE* root) {
        tasks_.push_back({EVALUATE, root});
        while (!tasks_.empty()) {
            TASK task = tasks_.back();
            tasks_.pop_back();
            switch (task.kind) {
            case EVALUATE: expand(task.node); break;
            case READ: read(bit_of(task.node)); break;
            case WRITE: write(bit_of(task.node)); break;
            case CALLS: call(); break;
            case KEEP: kept_.push_back(flow_); break;
            case JOIN_SKIPPED: // the second operand of && and || may not run
            case JOIN_ARMS:
                flow_ = join(flow_, kept_.back());
                kept_.pop_back();
                break;
            case OTHER_ARM: std::swap(flow_, kept_.back()); break;
            }
        }
    }

    // Pushes the tasks of a node, the last one first.
    void expand(const NODE* node) {
        auto later = [&](TASK_KIND kind, const NODE* part) {
            if (part != nullptr) tasks_.push_back({kind, part});
        };
        if (bit_of(node)) return read(bit_of(node));
        const NODE *left = node->left, *right = node->op == CSE_DUPE ? nullptr : node->right;
        if (is_assigning(node->op)) {
            bool direct = bit_of(left) != 0;
            if (direct) later(WRITE, left);
            if (node->op != ASG && direct) later(READ, left);
            if (!direct) later(EVALUATE, left);
            return later(EVALUATE, right);
        }
        if (is_call(node->op)) {
            later(CALLS, node);
            if (node->op == MCALL || node->op == UMCALL) return later(EVALUATE, left);
            later(EVALUATE, left);
            return later(EVALUATE, right);
        }
        switch (node->op) {
        case IF:
        case SWITCH: return later(EVALUATE, left); // the right operand holds labels
        case ANDAND:
        case OROR:
            later(JOIN_SKIPPED, node);
            later(EVALUATE, right);
            later(KEEP, node);
            return later(EVALUATE, left);
        case QUEST:
            if (right == nullptr || right->op != COLON) break;
            later(JOIN_ARMS, node);
            later(EVALUATE, right->right);
            later(OTHER_ARM, node);
            later(EVALUATE, right->left);
            later(KEEP, node);
            return later(EVALUATE, left);
        default: break;
        }
        later(EVALUATE, right);
        later(EVALUATE, left);
    }

    void summarise_blocks() {
        blocks_.resize(f_->blocks.size());
        for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
            summary_ = &blocks_[bb->serial];
            flow_ = FLOW();
            for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) evaluate(cell->first);
            summary_->end = flow_;
        }
    }

    // The greatest solution: everything is assigned until a path shows the contrary.
    void propagate() {
        for (bool changed = true; changed;) {
            changed = false;
            for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
                MASK in = bb == f_->bb_list ? 0 : ~MASK{0};
                for (EDGE* e = bb->preds; e != nullptr; e = e->next) in &= blocks_[e->bb->serial].out();
                if (in == blocks_[bb->serial].in) continue;
                blocks_[bb->serial].in = in;
                changed = true;
            }
        }
    }

    // ---- the outside

    void find_initialiser_uses() {
        for (SYMTAB* global = global_symbols; global != nullptr; global = global->next) {
            if (global->init == nullptr) continue;
            for (EXPR_CELL* cell = global->init->head; cell != nullptr; cell = cell->next)
                walk_tree_top_down(cell->node, [&](NODE* node) {
                    possible_ &= ~bit_of(node);
                    return true;
                });
        }
    }

    void accept() {
        bool first = true;
        for (auto& s : statics_) {
            if (!(s->bit & possible_)) continue;
            s->symbol->flags |= SYM_MAY_BE_AUTO;
            if (print_debug) dprintf("Changing this function-local static variable to 'auto': %s\n", s->symbol->name);
            if (!write_opt_info || finfo == nullptr) continue;
            if (first) fprintf(finfo, "    Changing these function-local static variables to 'auto':\n");
            fprintf(finfo, "\t%s:%s\n", f_->name, s->symbol->name);
            first = false;
        }
    }

    FUNINFO* f_;
    std::vector<std::unique_ptr<STATIC>> statics_;
    MASK possible_ = 0;                 // the statics against which nothing speaks yet
    std::vector<BLOCK_SUMMARY> blocks_; // by serial number
    BLOCK_SUMMARY* summary_ = nullptr;  // of the block in work
    FLOW flow_;                         // at the place in work
    std::vector<FLOW> kept_;
    std::vector<TASK> tasks_;
};

void rewrite_names(NODE*& root) {
    walk_slots(root, [](NODE*& node) {
        SYMTAB* sym = node->op == NAME ? node->u.sym : nullptr;
        if (sym != nullptr && (sym->flags & SYM_MAY_BE_AUTO) && sym->link[0] != nullptr)
            node->u.sym = static_cast<SYMTAB*>(sym->link[0]);
        return true;
    });
}

SYMTAB* auto_in_place_of(const SYMTAB* from, FUNINFO* f) {
    SYMTAB* sym = copy_symbol(from, 0);
    sym->pragmas = remove_pragma(PRAGMA::PRAGMA_SCOPING_FUNC, sym->pragmas);
    sym->sclass = sym->sclass_at_creation = SC_AUTO;
    sym->level = 2;
    sym->depth = 2;
    sym->scqual &= CQ_VOLATILE;
    sym->flags = SYM_ORIGINAL | SYM_ALIASED;
    sym->file_position = 0;
    sym->index = sym->sequence = f->local_index++;
    sym->next = f->locals;
    f->locals = sym;
    if (f->scopes != nullptr) LS_add_symbol(LS_level_2_scope(f->scopes), sym);
    return sym;
}

} // namespace

void identify_fl_statics_safe_for_auto() {
    FUNINFO* f = currfuninfo;
    if (f == nullptr || f->symbol == nullptr || f->bb_list == nullptr) return;
    FL_STATICS(f).run();
}

void convert_safe_fl_statics_to_auto(FUNINFO* f) {
    constexpr uint8_t both = SYM_FL_STATIC | SYM_MAY_BE_AUTO;
    std::vector<SYMTAB*> converted;
    for (SYMTAB* sym : f->fl_statics) {
        if ((sym->flags & both) != both) continue;
        sym->link[0] = auto_in_place_of(sym, f);
        converted.push_back(sym);
    }
    if (converted.empty()) return;
    for_each_statement(f, [](LIST* cell) { rewrite_names(cell->first); });
    for (LIST* cell = f->integrable_body; cell != nullptr; cell = cell->rest) rewrite_names(cell->first);
    for (SYMTAB* sym : converted) {
        sym->link[0] = nullptr;
        sym->flags &= static_cast<uint8_t>(~SYM_MAY_BE_AUTO);
        std::erase(f->fl_statics, sym);
    }
}
