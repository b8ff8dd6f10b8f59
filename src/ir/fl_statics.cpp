// Turn function-local statics into autos where nothing needs their value between calls.
//
//     int f(int a) { static int t;  t = a * a;  return t + 1; }        ->        int t; in place of the static
//
// Why:    a static lives in memory and every call and pointer may change it; an auto may live in a register.
// Rule:   a scalar static qualifies if every read of it is preceded, on every path from the function's entry, by a
// write
//         of the whole of it in the same activation, with no call in between. So
//           - the initial value and the value left by an earlier call are never read;
//           - no other activation can write between a write and the reads that see it: whatever could enter the
//           function
//             again, directly or through others, is a call, and a call ends what earlier writes have proved. Each
//             activation of a recursive function may thus have a variable of its own.
//         A call of any function counts; a builtin that only computes does not. Interrupt functions, which may run at
//         any point of themselves, do not take part, nor functions with assembly text, which may name the static.
// Skips:  volatile; restrict; aggregates; statics whose address is taken, in the function, in the exception table or in
//         an initialiser; statics that are accessed as something of another size.
// Needs:  statements in blocks, exact predecessors.     Keeps: blocks, edges.
// Cost:   a walk over the nodes; blocks times the nesting of loops, one machine word each.
#include "ir/assigned.h"
#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/pragma.h"
#include "ir/symbol.h"
#include "ir/tree_slots.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct STATIC {
    SYMTAB* symbol;
    bool misused = false; // something speaks against it
};

// While it looks at statements each candidate hangs at the first link of its symbol.
class FL_STATICS {
  public:
    explicit FL_STATICS(FUNINFO* f) : f_(f) {}
    ~FL_STATICS() { unlink(); }

    void run() {
        note_declared_statics();
        collect();
        if (candidates_.empty() || function_is_opaque()) return;
        find_misuse();
        drop_misused();
        drop_read_early();
        if (candidates_.empty()) return;
        find_initialiser_uses();
        drop_misused();
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
            if (candidates_.size() == max_assigned_query) return;
            uint32_t quals = sym->type->qual_kind();
            if (!sym->type->is_scalar() || (quals & (QUAL_VOLATILE | QUAL_RESTRICT)) || sym->link[0] != nullptr)
                continue;
            if ((sym->scqual & CQ_VOLATILE) || symbol_has_pragma(sym, PRAGMA::PRAGMA_SYM_IS_REFERENCED)) continue;
            if (sym->sclass != SC_STATIC || sym_appears_in_EHT(sym)) continue;
            candidates_.push_back(std::make_unique<STATIC>(STATIC{sym}));
            sym->link[0] = candidates_.back().get();
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

    void unlink() {
        for (auto& c : candidates_) c->symbol->link[0] = nullptr;
    }

    static STATIC* named(const NODE* node) {
        return node->op == NAME && node->u.sym != nullptr ? static_cast<STATIC*>(node->u.sym->link[0]) : nullptr;
    }

    // Addresses and accesses of another width.
    void find_misuse() {
        for_each_statement(f_, [&](LIST* cell) {
            walk_tree_top_down(cell->first, [&](NODE* node) {
                if (STATIC* c = named(node))
                    if (node->type->size() != c->symbol->size || node->type->is_volatile()) c->misused = true;
                if (node->op != UAND && node->op != ARGREF && node->op != STDOT) return true;
                const NODE* object = node->left;
                while (object->op == STDOT || object->op == COMMAOP)
                    object = object->op == STDOT ? object->left : object->right;
                if (STATIC* c = named(object)) c->misused = true;
                return true;
            });
        });
    }

    void drop_misused() {
        unlink();
        std::erase_if(candidates_, [](const auto& c) { return c->misused; });
        for (auto& c : candidates_) c->symbol->link[0] = c.get();
    }

    void drop_read_early() {
        std::vector<SYMTAB*> symbols;
        for (auto& c : candidates_) symbols.push_back(c->symbol);
        if (symbols.empty()) return;
        unlink(); // the analysis needs the link
        uint64_t early = read_before_assigned(f_, symbols, true);
        for (size_t i = 0; i < candidates_.size(); i++)
            if (early >> i & 1) candidates_[i]->misused = true;
        drop_misused();
    }

    // ---- the outside

    void find_initialiser_uses() {
        for (SYMTAB* global = global_symbols; global != nullptr; global = global->next) {
            if (global->init == nullptr) continue;
            for (EXPR_CELL* cell = global->init->head; cell != nullptr; cell = cell->next)
                walk_tree_top_down(cell->node, [&](NODE* node) {
                    if (STATIC* c = named(node)) c->misused = true;
                    return true;
                });
        }
    }

    void accept() {
        bool first = true;
        for (auto& s : candidates_) {
            s->symbol->flags |= SYM_MAY_BE_AUTO;
            if (print_debug) dprintf("Changing this function-local static variable to 'auto': %s\n", s->symbol->name);
            if (!write_opt_info || finfo == nullptr) continue;
            if (first) fprintf(finfo, "    Changing these function-local static variables to 'auto':\n");
            fprintf(finfo, "\t%s:%s\n", f_->name, s->symbol->name);
            first = false;
        }
    }

    FUNINFO* f_;
    std::vector<std::unique_ptr<STATIC>> candidates_; // against which nothing speaks yet
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
