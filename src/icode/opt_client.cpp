#include "icode/opt_client.h"

#include "icode/expr_cleanup.h"
#include "icode/if_check.h"
#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_set>

PASS_HOOKS pass_hooks;
std::vector<OPTION_SET> icode_optionlist;

namespace {

// ------------------------------------------------------------------------------------------------ exception tables

// The entries that hang on `next` and end in the root: every chain must.
bool no_loops_in_table(const EHT_ENTRY* table, uint32_t count) {
    std::vector<uint8_t> state(count, 0); // 0 new, 1 on the chain in work, 2 known to end in the root
    state[EHT_ROOT_ID] = 2;
    std::vector<uint32_t> chain;
    for (uint32_t i = 0; i < count; i++) {
        chain.clear();
        uint32_t at = i;
        while (state[at] == 0) {
            state[at] = 1;
            chain.push_back(at);
            at = table[at].next;
        }
        if (state[at] == 1) return false;
        for (uint32_t c : chain) state[c] = 2;
    }
    return true;
}

// Calls `visit` on each call of the function's body and clean-up expressions; of a control statement only the condition
// can hold one.
template <typename F> void for_each_call(FUNINFO* f, F&& visit) {
    auto calls_of = [&](NODE* tree) {
        walk_tree(tree, [&](NODE* node) {
            if (opcode_is_call(node->op)) visit(node);
        });
    };
    for (LIST* cell = f->statements; cell != nullptr; cell = cell->rest) {
        NODE* tree = cell->first;
        calls_of(tree->op == SWITCH || tree->op == IF ? tree->left : tree);
    }
    for (uint32_t i = 0; i < f->eht_size; i++)
        if (f->eht[i].cleanup != nullptr) calls_of(f->eht[i].cleanup);
}

// ---------------------------------------------------------------------------------------------------------- the client

class OPT_CLIENT final : public IF_CLIENT {
    LABEL_CHECK labels_;
    std::unordered_set<uint32_t> option_set_numbers_;

    void fault(const char* what) {
        if (what != nullptr) i_file->bad_input(what);
    }

    SYMTAB* cl_symbol_create(const char* name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln, uint32_t offset,
                             uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t position,
                             uint32_t option_set) override {
        check_symbol(type, sclass);
        if (icode_optionlist.empty() || option_set_numbers_.count(option_set) == 0) option_set = 0;
        SYMTAB* sym = make_symbol(name, type, type2, size, aln, offset, sclass, scqual, psn, position, option_set, lex);
        if (lex > 0 && !currfuninfo->open_blocks.empty()) currfuninfo->open_blocks.back().symbols.push_back(sym);
        return sym;
    }

    void check_symbol(TYPE* type, uint8_t sclass) {
        switch (sclass) {
        case SC_EXTERN_DEF:
        case SC_STATIC:
        case SC_EXTERN_DECL:
            if (lex != 0) fault("a local symbol of a global's storage class");
            break;
        case SC_AUTO:
        case SC_REGISTER:
        case SC_OMITTED:
        case SC_REGISTER2:
            if (lex == 1) fault("a local among the parameters");
            [[fallthrough]];
        case SC_PARM:
        case SC_PARM_REG:
        case SC_PARM_VARARGS:
            if (lex == 0) fault("a global symbol of a local's storage class");
            break;
        default: fault("a symbol of an unknown storage class");
        }
        if (lex != 0 && type->is_func()) fault("a function among the locals");
    }

    void cl_option_set(uint32_t number, const std::vector<std::string>& strings) override {
        if (icode_optionlist.empty()) option_set_numbers_.clear(); // of an earlier run
        option_set_numbers_.insert(number);
        icode_optionlist.push_back({number, strings});
    }

    void cl_pragma(SYMTAB* sym, PRAGMA* pragma) override {
        if (sym != nullptr) {
            // The list keeps the order of the file, so that the file is written as it was read.
            PRAGMA** end = &sym->pragmas;
            while (*end != nullptr) end = &(*end)->next;
            *end = pragma;
        }
        opt_process_pragma(sym, pragma);
    }

    void cl_symbol_init(SYMTAB* sym, EXPR_LIST* list) override {
        for (EXPR_CELL* cell = list->head; cell != nullptr; cell = cell->next) fault(initialiser_fault(cell->node));
        sym->init = list;
        opt_symbol_init(sym, list);
    }

    void cl_ir_begin_func() override { fault("a function in low-level form"); }

    void cl_expr(NODE* tree, PSN* psn) override {
        fault(statement_fault(tree));
        if (lex < 2) fault("a statement in front of the end of the parameters");
        if (tree->op == LOOP && !labels_.define(tree->right->u.lval.low)) fault("a label defined twice");
        labels_.note_references(tree);
        push(expr_cleanup(tree), psn);
    }

    void push(NODE* tree, PSN* psn) {
        LS_initialize_scopes_and_ptrs_from_tree(currfuninfo->scope_cursor, tree);
        currfuninfo->statements = mkelist(tree, currfuninfo->statements, psn);
    }

    void cl_label(uint32_t number) override {
        if (!labels_.define(number)) fault("a label defined twice, or of a number that is none");
        // A jump to the very next place is dropped.
        LIST*& body = currfuninfo->statements;
        if (body != nullptr && body->first->op == BRANCH &&
            body->first->left->u.lval == INT65(static_cast<int>(number))) {
            LIST* branch = body;
            body = branch->rest;
            erase_tree(branch->first);
            delete branch;
        }
        NODE* label = maketree(LABELDEF, nullptr, nullptr, tp->int_type(), currfuninfo->scope_cursor);
        label->u.lval = INT65(static_cast<int>(number));
        push(label, nullptr);
    }

    void cl_inline_asm(const char* text, PSN* psn) override { assembly(36, text, psn); }
    void cl_comment(const char* text) override {
        if (*text != '*') assembly(47, text, nullptr);
    }
    void assembly(int kind, const char* text, PSN* psn) {
        if (kind == REC_COMMENT && currfunc == nullptr && strncmp(text, ";\t", 2) == 0) input_is_optimized = true;
        if (currfunc == nullptr)
            pass_hooks.wrasmr(kind, text, psn);
        else
            push(mk_ASM(kind, text, currfuninfo->scope_cursor), psn);
    }

    void cl_begin_func(SYMTAB* sym, PSN* psn) override {
        if (!sym->otype->is_func()) fault("a function body for a symbol that is no function");
        FUNINFO* f = make_FUNINFO(skip_name_prefix(sym->name));
        if (f->first_psn != nullptr || f->bb_list != nullptr) fault("a second body of one function");
        if (sym->sclass != SC_EXTERN_DEF && sym->sclass != SC_STATIC)
            fault("a body of a function that is only declared");
        currfunc = sym;
        currfuninfo = f;
        f->symbol = sym;
        f->return_type = sym->type->return_type();
        f->first_psn = psn;
        curr_file = psn == nullptr ? "NO_PSN_FILE" : psn->file == nullptr ? "NO_FILE" : psn->file;
        f->statements = nullptr;
        f->locals = f->temps = f->memory_locals = f->scalar_locals = nullptr;
        f->open_blocks.clear();
        f->open_blocks.push_back({psn, {}});
        lex = 1;
        unique_call_index = 0;
        labels_.clear();
        init_stack_sharing();
        f->has_local_address = f->has_marked_name = false;
        f->has_asserts = 0;
        f->is_leaf = true;
        if (sym->scqual & CQ_INTERRUPT) f->flags |= FUN_is_interrupt;
        LS_open(f);
        LS_open(f);
        if (sym->sclass == SC_STATIC && (sym->scqual & CQ_INLINE) && (f->flags & FUN_cannot_suppress) &&
            pass_hooks.unsuppress_inline_function != nullptr)
            pass_hooks.unsuppress_inline_function(f);
        if (pass_hooks.dump_function_header != nullptr) pass_hooks.dump_function_header();
    }

    void open_block(PSN* psn) {
        lex++;
        currfuninfo->open_blocks.push_back({psn, {}});
        begin_stack_sharing_scope(lex);
        LS_open(currfuninfo);
    }

    void cl_end_args(PSN* psn) override {
        currfuninfo->args_end_psn = currfuninfo->locals_end_psn = psn;
        open_block(psn);
    }
    void cl_end_locals(PSN* psn) override { currfuninfo->locals_end_psn = psn; }
    void cl_begin_block(PSN* psn) override { open_block(psn); }
    void cl_end_block(PSN* psn) override {
        currfuninfo->open_blocks.pop_back();
        end_stack_sharing_scope();
        LS_close(currfuninfo, psn);
        lex--;
    }

    bool cl_func_eht(std::vector<EHT_ENTRY>& entries) override;
    void cl_end_func(PSN* psn) override;
};

bool OPT_CLIENT::cl_func_eht(std::vector<EHT_ENTRY>& entries) {
    FUNINFO* f = currfuninfo;
    if (f->eht != nullptr) fault("a second exception table of one function");
    for (EHT_ENTRY& entry : entries) {
        // A handler is entered by the unwinder alone; nothing in the control-flow graph would keep it.
        if (!entry.catches.empty()) abort_optimizer("exception handlers are not supported");
        if (entry.cleanup != nullptr) {
            fault(expression_fault(entry.cleanup));
            entry.cleanup = expr_cleanup(entry.cleanup);
        }
    }
    // The root is not in the file: an entry of zeros, which sorts in front of all others.
    entries.emplace_back();
    uint32_t count = static_cast<uint32_t>(entries.size());
    std::stable_sort(entries.begin(), entries.end(),
                     [](const EHT_ENTRY& a, const EHT_ENTRY& b) { return a.id < b.id; });
    f->eht = new EHT_ENTRY[count];
    std::unordered_map<uint32_t, uint32_t> place;
    for (uint32_t i = 0; i < count; i++) {
        place[entries[i].id] = i; // of two entries with one id the later counts
        f->eht[i] = std::move(entries[i]);
        entries[i].cleanup = nullptr;
    }
    f->eht_size = count;
    auto new_id = [&](uint32_t old) {
        auto found = place.find(old);
        if (found == place.end()) fault("an exception entry that its table does not have");
        return found->second;
    };
    for (uint32_t i = 0; i < count; i++) {
        f->eht[i].id = i;
        f->eht[i].next = new_id(f->eht[i].next);
    }
    for_each_call(f, [&](NODE* call) {
        if (call->u.call.eht_id != 0) call->u.call.eht_id = new_id(call->u.call.eht_id);
    });
    if (f->eht[EHT_ROOT_ID].kind != EHK_ROOT_NODE) fault("an exception table without a root");
    if (!no_loops_in_table(f->eht, count)) fault("an exception chain that does not end in the root");
    for (uint32_t i = 0; i < count; i++)
        if (f->eht[i].cleanup != nullptr && pass_hooks.scan_for_calls_and_uses != nullptr)
            pass_hooks.scan_for_calls_and_uses(f->eht[i].cleanup);
    return true;
}

// A void function that returns its object through its first parameter: the parameter is never null. Gives the cell
// behind which the assertion stands.
void note_returned_pointer(FUNINFO* f) {
    if (!f->return_type->is_void() || symbol_has_pragma(f->symbol, PRAGMA::PRAGMA_FUNC_RET_BY_CCTOR) == nullptr) return;
    if (f->statements == nullptr) return;
    LIST** cell = &f->statements;
    while ((*cell)->rest != nullptr) cell = &(*cell)->rest; // the list stands last statement first
    NODE* first = (*cell)->first;
    while (first->op == PCOMMA) first = first->left;
    if (first->op != ASG || first->left->op != NAME || first->right->op != NAME) return;
    SYMTAB* local = first->left->u.sym;
    SYMTAB* parameter = first->right->u.sym;
    if (local->level != 2 || parameter->level != 1 || parameter->sequence != 0 ||
        strcmp(local->name, parameter->name) != 0 || !parameter->type->is_ptr() ||
        !parameter->type->type_pointed_to()->is_csu() || !compatible_types(local->type, parameter->type, false))
        return;
    parameter->type = tp->mk_qual(parameter->type, QUAL_CONST);
    NODE* not_null = maketree(NASSERT, mkpredicate(local), nullptr, tp->int_type(), local->scope);
    f->has_asserts = 1;
    *cell = mkelist(not_null, *cell, (*cell)->psn);
}

void OPT_CLIENT::cl_end_func(PSN* psn) {
    FUNINFO* f = currfuninfo;
    fault(labels_.fault());
    functions.push_back(currfunc);
    while (f->open_blocks.size() > 2) {
        f->open_blocks.pop_back();
        end_stack_sharing_scope();
        LS_close(f, psn);
    }
    if (lex > 1) end_stack_sharing_scope();
    f->open_blocks.clear();
    while (f->scope_cursor != nullptr) LS_close(f, psn);
    lex = 0;
    f->end_psn = psn;
    if (f->eht == nullptr) for_each_call(f, [](NODE* call) { call->u.call.eht_id = 0; });
    auto run = [](void (*hook)()) {
        if (hook != nullptr) hook();
    };
    auto run_on = [f](void (*hook)(FUNINFO*)) {
        if (hook != nullptr) hook(f);
    };
    run(pass_hooks.check_for_synonym_function_in_pass_1);
    run_on(pass_hooks.check_integrable_definition);
    note_returned_pointer(f);
    run(pass_hooks.seq_trees);
    run(pass_hooks.buildcfg);
    if (pass_hooks.simpcfg != nullptr) pass_hooks.simpcfg(false, false);
    if (pass_hooks.fast_CP != nullptr) pass_hooks.fast_CP(4, 1);
    run_on(pass_hooks.preprocess_fundef);
    f->inlined_sites.assign(unique_call_index + 1, false);
    run(pass_hooks.identify_fl_statics_safe_for_auto);
    run_on(pass_hooks.convert_safe_fl_statics_to_auto);
    run_on(pass_hooks.after_reading);
    currfunc = nullptr;
    currfuninfo = nullptr;
}

// ----------------------------------------------------------------------------------------------------------- pragmas

std::vector<SYMTAB*>& nonconforming() {
    static std::vector<SYMTAB*> list;
    return list;
}

bool says(const PRAGMA* p, std::initializer_list<const char*> texts) {
    return std::any_of(texts.begin(), texts.end(), [p](const char* t) { return strcmp(p->arg(0), t) == 0; });
}

// What a pragma on a function says of it beyond its own library flags.
void pragma_on_function(SYMTAB* sym, PRAGMA* p, FUNINFO* f) {
    bool flags_count = cache_sys_funinfo && !func_is_nonconforming(sym);
    auto library_flag = [&](uint32_t flag) {
        if (flags_count) f->flags |= flag;
    };
    switch (p->kind) {
    case PRAGMA::PRAGMA_SRC_LANGUAGE:
        if (strcmp(p->arg(0), "C++") == 0) {
            f->flags |= FUN_is_cpp;
            if (function_prepass && pass_hooks.init_FUNINFO_flags != nullptr) pass_hooks.init_FUNINFO_flags(f);
        }
        break;
    case PRAGMA::PRAGMA_FUNC_NEVER_RETURNS: library_flag(FUN_never_returns); break;
    case PRAGMA::PRAGMA_FUNC_NO_GLOBAL_ASG: library_flag(FUN_no_global_asg); break;
    case PRAGMA::PRAGMA_FUNC_NO_IND_ASG: library_flag(FUN_no_ind_asg); break;
    case PRAGMA::PRAGMA_FUNC_IS_PURE: library_flag(FUN_is_pure_fun); break;
    case PRAGMA::PRAGMA_FUNC_IS_SYSTEM: library_flag(FUN_is_SYSTEM); break;
    case PRAGMA::PRAGMA_FUNC_CANNOT_INLINE:
    case PRAGMA::PRAGMA_NORVEX_WEAK: f->flags |= FUN_cannot_suppress | FUN_cannot_inline; break;
    case PRAGMA::PRAGMA_FUNC_ESPEC:
        if (p->strings.size() != 2 || p->strings[1] != "0") f->flags |= FUN_cannot_suppress | FUN_cannot_inline;
        break;
    case PRAGMA::PRAGMA_FUNC_EXT_CALLED:
    case PRAGMA::PRAGMA_SYM_IS_REFERENCED:
    case PRAGMA::PRAGMA_RETAIN: f->flags |= FUN_is_pragma_EXT; break;
    case PRAGMA::PRAGMA_FUNC_IS_NONCONFORMING:
        nonconforming().push_back(sym);
        f->flags = 0;
        break;
    case PRAGMA::PRAGMA_SYM_VISIBILITY:
        if (says(p, {"default", "extern"})) f->flags |= FUN_cannot_inline | FUN_is_pragma_EXT;
        if (says(p, {"default", "extern", "protected"})) {
            no_outside_callers = false;
            f->flags |= FUN_cannot_suppress | FUN_is_pragma_EXT | FUN_cannot_beta | FUN_is_cg_root;
        }
        break;
    case PRAGMA::PRAGMA_FUNC_SYNONYM: {
        FUNINFO* g = make_FUNINFO(skip_name_prefix(p->arg(0)));
        f->flags |= FUN_cannot_beta;
        g->flags |= FUN_cannot_beta;
        if (strcmp(p->arg(1), "1") == 0) {
            f->flags |= FUN_is_processed;
            g->flags |= FUN_is_pragma_EXT;
            fileinfo->fundefs = mkFUNLIST(f, fileinfo->fundefs);
            g->return_type = sym->type->return_type();
        }
        break;
    }
    default: break;
    }
}

} // namespace

IF_CLIENT* opt_client() {
    static OPT_CLIENT client;
    return &client;
}

void reset_opt_client() {
    nonconforming().clear();
    input_is_optimized = false;
}

void opt_process_pragma(SYMTAB* sym, PRAGMA* p) {
    if (p->kind == PRAGMA::PRAGMA_OPT_OVERRIDE) abort_optimizer("an option override in the input");
    if (sym == nullptr) {
        if (currfunc != nullptr) {
            NODE* tree = mk_PPRAGMA(p, currfuninfo->scope_cursor);
            currfuninfo->statements = mkelist(tree, currfuninfo->statements, nullptr);
        } else {
            if (print_debug) dprintf("\tPRAGMA\t%s\n", p->name());
            o_file->if_write_pragma(p);
            delete p;
        }
        return;
    }
    if (sym->otype->is_func())
        pragma_on_function(sym, p, make_FUNINFO(skip_name_prefix(sym->name)));
    else if (p->kind == PRAGMA::PRAGMA_SYM_VISIBILITY && says(p, {"default", "extern", "protected"})) {
        sym->scqual |= CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
        no_outside_writers = false;
    }
    if (p->kind == PRAGMA::PRAGMA_SYM_IS_REFERENCED) sym->scqual |= CQ_ALIASED | CQ_WRITTEN | CQ_REFERENCED;
}

void opt_symbol_init(SYMTAB* sym, EXPR_LIST* list) {
    if (list == nullptr) return;
    sym->flags |= SYM_HAS_INIT;
    for (EXPR_CELL* cell = list->head; cell != nullptr && cell->node->op != ENDINIT; cell = cell->next) {
        NODE* tree = cell->node;
        if (pass_hooks.scan_for_funinfo != nullptr) pass_hooks.scan_for_funinfo(tree, nullptr);
        if ((sym->scqual & (CQ_ALIASED | CQ_WRITTEN)) || !sym->type->is_scalar() || sym->known_value != nullptr ||
            tree->op == SKIP || !is_link_time_constant(tree))
            continue;
        sym->known_value = PMCONVs_to_MULTs(copy_tree(tree));
    }
}

bool func_is_nonconforming(SYMTAB* sym) {
    return std::find(nonconforming().begin(), nonconforming().end(), sym) != nonconforming().end();
}
bool is_barrier_MCALL(SYMTAB*) { return false; }

bool pragma_says_preemptible(PRAGMA* p) { return says(p, {"default"}); }
bool pragma_says_outside_accessible(PRAGMA* p) { return !says(p, {"hidden"}); }

bool symbol_is_preemptible(SYMTAB* sym) {
    PRAGMA* p = symbol_has_pragma(sym, PRAGMA::PRAGMA_SYM_VISIBILITY);
    return p != nullptr && pragma_says_preemptible(p);
}
bool symbol_is_outside_accessible(SYMTAB* sym) {
    if (sym->sclass != SC_EXTERN_DEF && sym->sclass != SC_EXTERN_DECL) return false;
    PRAGMA* p = symbol_has_pragma(sym, PRAGMA::PRAGMA_SYM_VISIBILITY);
    return p == nullptr || pragma_says_outside_accessible(p);
}
bool symbol_is_protected(SYMTAB* sym) {
    PRAGMA* p = symbol_has_pragma(sym, PRAGMA::PRAGMA_SYM_VISIBILITY);
    return p != nullptr && says(p, {"protected"});
}
bool symbol_will_be_indirected(SYMTAB*) { return false; }

// ------------------------------------------------------------------------------------------------------ PPRAGMA trees

NODE* mk_PPRAGMA(PRAGMA* p, LS* scope) {
    NODE* node = maketree(PPRAGMA, nullptr, nullptr, tp->void_type, scope);
    node->pragma = p;
    return node;
}

void set_PPRAGMA_tree_info(NODE* tree, uint32_t kind, uint32_t count) {
    if (tree->pragma == nullptr) tree->pragma = new PRAGMA;
    tree->pragma->kind = kind;
    tree->pragma->strings.resize(count);
}
const char* get_PPRAGMA_tree_arg(NODE* tree, uint32_t i) { return tree->pragma->arg(i); }
void set_PPRAGMA_tree_arg(NODE* tree, uint32_t i, const char* text) {
    if (tree->pragma->strings.size() <= i) tree->pragma->strings.resize(i + 1);
    tree->pragma->strings[i] = text;
}
long get_PPRAGMA_tree_int_arg(NODE* tree, uint32_t i) { return strtol(tree->pragma->arg(i), nullptr, 10); }
void set_PPRAGMA_tree_int_arg(NODE* tree, uint32_t i, long value) {
    set_PPRAGMA_tree_arg(tree, i, std::to_string(value).c_str());
}
NODE* copy_ppragma_tree(NODE* tree) { return copy_tree(tree); }
