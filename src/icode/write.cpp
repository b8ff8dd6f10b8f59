#include "icode/write.h"

#include "icode/if.h"
#include "icode/opt_client.h"
#include "icode/write_eht.h"
#include "ir/funinfo.h"
#include "ir/infix.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstring>
#include <vector>

// -------------------------------------------------------------------------------------------- records, with the log

void wrsfid(const char* text) { o_file->if_write_source(text); }

void wrasmr(int kind, const char* text, PSN* psn) {
    if (print_debug) dprintf("%s\t%s\n", kind == REC_COMMENT ? "I_COMMENT" : "I_ASM", text);
    if (kind == REC_COMMENT)
        o_file->if_write_comment(text);
    else
        o_file->if_write_assembly(text, psn);
}

namespace {

void log_control(int id, const PSN* psn) {
    if (!print_debug) return;
    static const char* const keys[] = {"", "I_BF", "I_EF", "I_BB", "I_EB", "I_EA", "I_EL"};
    dprintf("%s\t%ld\t\t\t;%s\n", id <= 6 ? keys[id] : "<unknown key>",
            psn != nullptr ? static_cast<long>(psn->line) : 0L, currfunc->name);
}

} // namespace

void wrstcr(int id, PSN* psn) {
    log_control(id, psn);
    switch (id) {
    case REC_BEGIN_FUNC: o_file->if_write_begin_func(currfunc, psn); break;
    case REC_END_FUNC: o_file->if_write_end_func(psn); break;
    case REC_END_ARGS: o_file->if_write_end_args(psn); break;
    case REC_END_LOCALS: o_file->if_write_end_locals(psn); break;
    default: o_file->if_write_control(id, psn); break;
    }
}

void write_loop_icode(void*) {}
void write_dd_mbank_info() {}
void write_dd_edges() {}
void dump_psnrefs() {}

// ----------------------------------------------------------------------------------------------------------- symbols

void revert_symbol_type(SYMTAB* sym) {
    if (sym->type == sym->otype) return;
    TYPE* now = sym->type->stqs();
    TYPE* declared = sym->otype->stqs();
    bool fits = compatible_types(now, declared->normalized(), false) ||
                (declared->is_enum() && compatible_types(now, normalized_underlying_type(declared), false));
    if (!fits) return;
    uint32_t quals = sym->type->qual_kind();
    sym->type = quals == sym->otype->qual_kind() ? sym->otype : tp->mk_qual(declared, quals);
}

namespace {

void write_local_symbol(SYMTAB* sym) {
    TYPE* type = sym->type;
    uint8_t sclass = sym->sclass;
    uint32_t offset = sym->offset;
    if (sclass == SC_PARM && sym->sclass_at_creation == SC_PARM_VARARGS) sym->sclass = SC_PARM_VARARGS;
    if (sclass != SC_PARM && sclass != SC_REGISTER2 && sclass != SC_REGISTER) sym->offset = 0;
    revert_symbol_type(sym);
    o_file->if_reference_type(sym->type);
    o_file->if_enter_local(sym);
    o_file->if_write_symbol(sym);
    sym->type = type;
    sym->sclass = sclass;
    sym->offset = offset;
}

void write_parameters() {
    std::vector<SYMTAB*> parameters;
    for (SYMTAB* s = currfuninfo->memory_locals; s != nullptr; s = s->next)
        if (s->level == 1 && (s->flags & SYM_ORIGINAL)) parameters.push_back(s);
    std::stable_sort(parameters.begin(), parameters.end(),
                     [](const SYMTAB* a, const SYMTAB* b) { return a->sequence < b->sequence; });
    for (SYMTAB* s : parameters) write_local_symbol(s);
}

void write_locals() {
    const FUNINFO* f = currfuninfo;
    for (SYMTAB* list : {f->locals, f->scalar_locals, f->temps, f->memory_locals})
        for (SYMTAB* s = list; s != nullptr; s = s->next)
            if (s->level == 2) write_local_symbol(s);
}

} // namespace

// ---------------------------------------------------------------------------------------- the preparation of a tree

namespace {

// An integer constant whose value the file's 32 bits cannot hold is written as decimal text.
bool needs_LCON(const NODE* icon) {
    if (icon->type->size() <= 32) return false;
    return icon->type->is_signed() ? !icon->u.lval.fits_s32() : !icon->u.lval.fits_u32();
}

void unsuppress(FUNINFO* f) {
    if (pass_hooks.unsuppress_inline_function != nullptr) pass_hooks.unsuppress_inline_function(f);
}

void prepare_call(NODE* call) {
    if (call->left->op != UAND || call->left->left->op != NAME) return;
    FUNINFO* f = make_FUNINFO(skip_name_prefix(call->left->left->u.sym->name));
    f->flags |= FUN_is_called;
    unsuppress(f);
}

[[noreturn]] void bad_opcode(const NODE* node) {
    fprintf(stderr, "%d %s\n", node->op, opname(node->op));
    abort_optimizer("an internal opcode in the output");
}

// i + p  ->  p + i: in a file the pointer of a sum stands first. Only where no one can tell which is evaluated first.
void pointer_first(NODE* sum) {
    constexpr int limit = 64; // nodes of an operand looked at
    if (!sum->type->is_ptr() || sum->left->type->is_ptr() || !sum->right->type->is_ptr()) return;
    NODE *index = sum->left, *pointer = sum->right;
    if (count_nodes_in_tree(index, limit) >= limit || count_nodes_in_tree(pointer, limit) >= limit) return;
    bool index_acts = tree_has_side_effects(index), pointer_acts = tree_has_side_effects(pointer);
    bool swap = !index_acts && !pointer_acts;
    if (!swap && !pointer_acts)
        swap = pointer->op == UAND || (pointer->op == NAME && !tree_modifies_lvalue_in_tree(index, pointer));
    if (swap) std::swap(sum->left, sum->right);
}

void prepare_node(NODE* node) {
    switch (node->op) {
    case PLUS: pointer_first(node); return;
    case ICON:
        if (needs_LCON(node)) node->op = LCON;
        return;
    case LABEL:
        if (node->lbl != nullptr) node->u.lval = INT65(node->lbl->index);
        return;
    case NAME:
        if (node->u.sym != nullptr && node->u.sym->level == 0) node->u.sym->scqual |= CQ_REFERENCED;
        return;
    case UAND:
        if (node->left->op == NAME && node->left->u.sym->type->is_func())
            unsuppress(make_FUNINFO(skip_name_prefix(node->left->u.sym->name)));
        return;
    case VSCONV:
        OPTASSERT(node->type->is_vector() && node->left->type->is_vector());
        node->op = SCONV;
        return;
    case VRCONV: node->op = SCONV; return;
    case CALL:
    case UCALL: prepare_call(node); return;
    default:
        if (node->op > 162) bad_opcode(node);
        return;
    }
}

void prepare_tree(NODE* tree) { walk_tree(tree, prepare_node); }

NODE* with_mandatory_casts(NODE* tree) {
    return pass_hooks.insert_mandatory_casts != nullptr ? pass_hooks.insert_mandatory_casts(tree) : tree;
}

} // namespace

void wrtree(NODE* tree) {
    prepare_tree(tree);
    tree->set_edge_profile_value(UINT32_MAX);
    o_file->if_write_expr_node(tree);
}

void wrexpr(LIST* list) {
    for (; list != nullptr; list = list->rest) {
        NODE*& tree = list->first;
        if (source_interlist && tree->op != ASM && !tree_is_arg_prolog(tree) &&
            !(tree->op == PPRAGMA && tree->pragma->kind >= PRAGMA::PRAGMA_SRC_LOOP &&
              tree->pragma->kind <= PRAGMA::PRAGMA_INLINE_ADVICE))
            wrasmr(REC_COMMENT, stmt2infix(tree).c_str(), nullptr);
        if (tree->op == ASM) {
            wrasmr(static_cast<int>(tree->u.lval.low), tree->text, list->psn);
            continue;
        }
        if (tree->op == PPRAGMA) {
            if (tree->pragma->kind != PRAGMA::PRAGMA_LOOP_FLAGS) o_file->if_write_pragma(tree->pragma);
            continue;
        }
        tree = with_mandatory_casts(tree);
        if (print_debug) dprintf("\t%s\n", stmt2infix(tree).c_str());
        o_file->if_write_expr(nullptr, list->psn);
        wrtree(tree);
    }
}

void wrbdlr(LBL* label) {
    for (; label != nullptr; label = label->next) {
        if (label->refcount == 0) continue;
        o_file->if_write_label(static_cast<uint32_t>(label->index));
        if (print_debug) dprintf("%s\n", label2infix(label).c_str());
        if (source_interlist) wrasmr(REC_COMMENT, label2infix(label).c_str(), nullptr);
    }
}

// ---------------------------------------------------------------------------------------------------------- the blocks

namespace {

LIST* last_cell(LIST* list) {
    while (list != nullptr && list->rest != nullptr) list = list->rest;
    return list;
}

// The conversions between scalars and vectors of one lane that are builtins inside.
void lower_lane_builtins(NODE* node) {
    if (node->op != ICALL) return;
    bool repack = strcmp(node->u.name, "__repack") == 0;
    if (!repack && strcmp(node->u.name, "__s2v") != 0 && strcmp(node->u.name, "__v2s") != 0) return;
    delete[] node->u.name;
    node->u.lval = INT65();
    if (node->left->op == ICON) {
        node->u.lval = node->left->u.lval;
        node->op = ICON;
        erase_tree(node->left);
        node->left = nullptr;
    } else
        node->op = repack ? SCONV : VRCONV;
}

bool calls_function_that_never_returns(const LIST* stmts) {
    const NODE* last = nullptr;
    for (; stmts != nullptr; stmts = stmts->rest)
        if (stmts->first->op != BRANCH) last = stmts->first;
    if (last == nullptr || (last->op != CALL && last->op != UCALL) || last->left->op != UAND ||
        last->left->left->op != NAME)
        return false;
    const FUNINFO* f = find_FUNINFO_for_symbol(last->left->left->u.sym);
    return f != nullptr && (f->flags & FUN_never_returns);
}

// A block that only jumps to itself behind a call that never returns is not written: nothing falls into it.
void drop_endless_blocks_behind_calls() {
    for (BBLK* bb = currfuninfo->bb_list->dflink; bb != nullptr; bb = bb->dflink) {
        if (bb->stmts == nullptr || bb->stmts->first->op != BRANCH || bb->stmts->first->left->lbl->bb != bb) continue;
        const EDGE* from = nullptr;
        int others = 0;
        for (const EDGE* e = bb->preds; e != nullptr; e = e->next)
            if (e->bb != bb) {
                from = e;
                others++;
            }
        if (others != 1 || !calls_function_that_never_returns(from->bb->stmts)) continue;
        bb->stmts->first->left->lbl->refcount--;
        bb->stmts = erase_tree_list(bb->stmts);
    }
}

// 0, or the null pointer.
bool is_zero_constant(const NODE* tree) {
    if (tree->op == PCONV) tree = tree->left;
    return tree->op == ICON && tree->u.lval.is_zero();
}

// The opposite of a condition.
NODE* inverted(NODE* cond) {
    if (cond->op == EXCLAIM) {
        NODE* operand = cond->left;
        erase_node(cond);
        return operand;
    }
    if (tree_is_trivially_invertible(cond)) {
        cond->op = boolean_inv[cond->op];
        return cond;
    }
    return mk_EXCLAIM(cond);
}

NODE* pointer_as_boolean(NODE* cond) {
    if (!cond->type->is_ptr()) return cond;
    NODE* null = mk_PCONV(mk_ICON(0, tp->int_type()), cond->type);
    return maketree(NEQ, cond, null, tp->int_type(), cond->scope);
}

// IF(c; true, false)  ->  CBRANCH(c, false); BRANCH(true), or with condition and targets turned round.
void lower_IF(LIST* cell, const BBLK* next) {
    NODE* node = cell->first;
    NODE* targets = node->right;
    NODE* to_true = targets->left;
    NODE* to_false = targets->right;
    NODE* cond = pointer_as_boolean(node->left);
    if (next == nullptr || to_true->lbl->bb != next || next->dfn < to_false->lbl->bb->dfn) {
        cond = inverted(cond);
        std::swap(to_true, to_false);
    }
    if (cond->op == EQ && is_zero_constant(cond->right)) {
        NODE* operand = cond->left;
        erase_tree(cond->right);
        erase_node(cond);
        cond = mk_EXCLAIM(operand);
    }
    node->op = CBRANCH;
    node->left = cond;
    node->right = to_false;
    erase_node(targets);
    NODE* branch = maketree(BRANCH, to_true, nullptr, tp->int_type(), node->scope);
    cell->rest = mkelist(branch, cell->rest, cell->psn);
}

void fix_up_statements(BBLK* bb) {
    for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) {
        NODE* stmt = cell->first;
        if (stmt->op == IF)
            lower_IF(cell, bb->dflink);
        else if (stmt->op == UMCALL && strcmp(stmt->u.name, "_never_executed") == 0) {
            for (LIST* behind = cell->rest; behind != nullptr; behind = behind->rest)
                for_each_label_ref(behind->first, [](NODE* label) { label->lbl->refcount--; });
            cell->rest = erase_tree_list(cell->rest);
        }
    }
}

// Drops what only leads into the next block: a jump to it, or the return that it begins with.
void drop_fall_through(BBLK* bb) {
    const BBLK* next = bb->dflink;
    LIST* last = last_cell(bb->stmts);
    if (next == nullptr || last == nullptr) return;
    NODE* stmt = last->first;
    bool drop = false;
    if (stmt->op == BRANCH && stmt->left->lbl->bb == next) {
        stmt->left->lbl->refcount--;
        drop = true;
    } else if ((stmt->op == RETURN || stmt->op == URETURN) && next->stmts != nullptr &&
               next->stmts->first->op == stmt->op && trees_are_congruent_se_ok(stmt->left, next->stmts->first->left) &&
               (stmt->op == URETURN || trees_are_congruent(stmt->right, next->stmts->first->right)))
        drop = true;
    if (!drop) return;
    LIST** link = &bb->stmts;
    while (*link != last) link = &(*link)->rest;
    *link = erase_tree_list(last);
}

// How often each label is referenced. No pass keeps the count.
void count_label_references() {
    FUNINFO* f = currfuninfo;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next) label->refcount = 0;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
            for_each_label_ref(cell->first, [](NODE* label) { label->lbl->refcount++; });
}

// Numbers every referenced label of the function from 1, in the order of layout: what is written depends on the layout
// alone.
void number_labels() {
    int32_t number = 0;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next)
            if (label->refcount != 0) label->index = ++number;
}

} // namespace

void wrbblocks() {
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) walk_tree(cell->first, lower_lane_builtins);
    count_label_references();
    drop_endless_blocks_behind_calls();
    // Jumps that fall away take their labels with them, so the labels are numbered when all statements are final.
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        fix_up_statements(bb);
        drop_fall_through(bb);
    }
    number_labels();
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        wrbdlr(bb->labels);
        wrexpr(bb->stmts);
    }
}

// ---------------------------------------------------------------------------------------------------------- a function

void write_func_header() { wrstcr(REC_BEGIN_FUNC, currfuninfo->first_psn); }

void write_func_body() {
    FUNINFO* f = currfuninfo;
    write_parameters();
    wrstcr(REC_END_ARGS, f->args_end_psn);
    write_locals();
    wrstcr(REC_END_LOCALS, f->locals_end_psn);
    if (f->is_leaf) o_file->if_write_func_info(76);
    if (f->eht != nullptr) compact_exception_table();
    wrbblocks();
    if (f->eht != nullptr) {
        for (uint32_t i = 0; i < f->eht_size; i++)
            if (f->eht[i].cleanup != nullptr) prepare_tree(f->eht[i].cleanup);
        o_file->if_write_func_eht(f->eht + 1, f->eht_size - 1);
    }
    wrstcr(REC_END_FUNC, f->end_psn);
    f->flags |= FUN_is_processed;
    if (fdebug != nullptr) o_file->if_flush();
    if (PRAGMA* synonym = symbol_has_pragma(currfunc, PRAGMA::PRAGMA_FUNC_SYNONYM))
        unsuppress(make_FUNINFO(skip_name_prefix(synonym->arg(0))));
}

// ---------------------------------------------------------------------------------------------------- dependence edges

namespace {

struct DD_EDGE {
    uint32_t from, to, kind;
    std::string from_text, to_text;
};
std::vector<DD_EDGE> dd_edges;

} // namespace

void add_dd_edge(uint32_t from, uint32_t to, uint32_t kind, const char* from_text, const char* to_text) {
    dd_edges.push_back({from, to, kind, from_text, to_text});
}

void finalize_dd_edges() {
    if (dd_edges.empty()) return;
    uint32_t largest = 0;
    for (const DD_EDGE& e : dd_edges) largest = std::max({largest, e.from, e.to});
    std::vector<bool> present(largest + 1);
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) {
            NODE* tree = cell->first;
            walk_tree(tree->op == SWITCH || tree->op == IF ? tree->left : tree, [&](NODE* node) {
                if (node->op != DDNODE) return;
                OPTASSERT(node->dd != nullptr);
                if (node->dd->id <= largest) present[node->dd->id] = true;
            });
        }
    for (const DD_EDGE& e : dd_edges) {
        if (present[e.from] && present[e.to]) {
            o_file->if_write_dep_edge(e.from, e.to, e.kind);
            if (print_debug) {
                dprintf("\n%c\tDDEDGE\t^[%d]\tv1:%d = %s", '#', static_cast<int>(e.kind), static_cast<int>(e.from),
                        e.from_text.c_str());
                dprintf("\t\t\tv2:%d = %s\n", static_cast<int>(e.to), e.to_text.c_str());
            }
            continue;
        }
        dprintf("\n\tDDEDGE from %d->%d omitted\n", static_cast<int>(e.from), static_cast<int>(e.to));
        dprintf("\t\tbecause DDNODE #%d is no longer present\n", static_cast<int>(present[e.from] ? e.to : e.from));
    }
    dd_edges.clear();
}
