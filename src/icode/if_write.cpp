// The record writer: one operation a record, and the sections that close a file.
#include "icode/if.h"
#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <vector>

void I_FILE::if_enter_option_set(uint32_t number, const std::vector<std::string>& strings) {
    option_sets.push_back({number, strings});
}

void I_FILE::if_write_option_set(const OPTION_SET& set) {
    i_write_uint(set.number);
    i_write_uint(static_cast<uint32_t>(set.strings.size()));
    for (const std::string& text : set.strings) i_write_string(text.c_str());
    i_flush(REC_OPTION_SET);
}

void I_FILE::if_write_label(uint32_t number) {
    i_write_uint(number);
    i_flush(REC_LABEL);
}

void I_FILE::if_write_assembly(const char* text, const PSN* psn) {
    i_write_string(text);
    i_write_psn(psn);
    i_flush(REC_ASM);
}

void I_FILE::if_write_source(const char* text) {
    i_write_string(text);
    i_flush(REC_SOURCE);
}

void I_FILE::if_write_comment(const char* text) {
    i_write_string(text);
    i_flush(REC_COMMENT);
}

void I_FILE::if_write_pragma(const PRAGMA* pragma) {
    i_write_uint(pragma->kind);
    i_write_uint(static_cast<uint32_t>(pragma->strings.size()));
    for (const std::string& text : pragma->strings) i_write_string(text.c_str());
    i_flush(REC_PRAGMA);
}

void I_FILE::if_write_func_info(int value) {
    i_write_i8(value);
    i_flush(REC_FUNC_INFO);
}

void I_FILE::if_write_symbol(SYMTAB* sym) {
    int pragma_count = 0;
    for (const PRAGMA* p = sym->pragmas; p != nullptr && pragma_count < 255; p = p->next) pragma_count++;
    i_write_string(sym->name);
    i_write_uint(sym->size);
    i_write_uint(sym->offset);
    i_write_i8(sym->sclass);
    i_write_i16(sym->scqual);
    i_write_typeref(sym->type);
    i_write_typeref(sym->type2);
    i_write_uint(sym->aln);
    i_write_i8(pragma_count);
    i_write_uint(sym->file_position);
    i_write_uint(sym->option_set);
    i_write_psn(sym->psn);
    i_flush(REC_SYMBOL);
    for (const PRAGMA* p = sym->pragmas; p != nullptr && pragma_count > 0; p = p->next, pragma_count--)
        if_write_pragma(p);
}

void I_FILE::if_write_init(SYMTAB* sym) {
    if (!body_closed) {
        i_write_eof();
        body_closed = true;
        init_offset = static_cast<uint32_t>(if_tell());
    }
    sym->file_position = static_cast<uint32_t>(if_tell());
    i_write_uint(sym->index);
    i_flush(REC_INIT);
}

void I_FILE::if_write_control(int id, const PSN* psn) {
    i_write_psn(psn);
    i_flush(id);
}

void I_FILE::if_write_begin_func(SYMTAB* sym, const PSN* psn) {
    sym->file_position = static_cast<uint32_t>(if_tell());
    locals.clear();
    block_depth = 1;
    i_write_psn(psn);
    i_write_uint(sym->index);
    i_flush(REC_BEGIN_FUNC);
}

void I_FILE::if_write_end_func(const PSN* psn) {
    if_write_control(REC_END_FUNC, psn);
    block_depth = 0;
}
void I_FILE::if_write_begin_block(const PSN* psn) {
    if_write_control(REC_BEGIN_BLOCK, psn);
    block_depth++;
}
void I_FILE::if_write_end_block(const PSN* psn) {
    if_write_control(REC_END_BLOCK, psn);
    block_depth--;
}
void I_FILE::if_write_end_args(const PSN* psn) {
    if_write_control(REC_END_ARGS, psn);
    block_depth = 2;
}
void I_FILE::if_write_end_locals(const PSN* psn) { if_write_control(REC_END_LOCALS, psn); }

void I_FILE::if_write_loop(const uint32_t field[5], int flags) {
    for (int i = 0; i < 5; i++) i_write_uint(field[i]);
    i_write_i16(flags);
    i_flush(REC_LOOP_DEF);
}

void I_FILE::if_write_inloop(uint32_t id, int32_t scope, int32_t index, int flag) {
    i_write_uint(id);
    i_write_sint(scope);
    i_write_sint(index);
    i_write_i8(flag);
    i_flush(REC_LOOP_HEADER);
}

void I_FILE::if_write_dep_vector(uint32_t id, int kind, const std::vector<std::pair<int, int>>& pairs) {
    i_write_uint(id);
    i_write_i8(kind);
    i_write_i8(static_cast<int>(pairs.size()));
    for (auto [first, second] : pairs) {
        i_write_i8(first);
        i_write_i8(second);
    }
    i_flush(REC_DD_VECTOR);
}

void I_FILE::if_write_dep_edge(uint32_t from, uint32_t to, uint32_t kind) {
    i_write_uint(from);
    i_write_uint(to);
    i_write_uint(kind);
    i_flush(REC_DD_EDGE);
}

void I_FILE::if_write_mbank(const uint32_t field[5]) {
    for (int i = 0; i < 5; i++) i_write_uint(field[i]);
    i_flush(REC_MBANK);
}

namespace {

// Scope and index of a symbol in a load-speculation record: scope -1 and index 0 stand for none.
void write_ldspec_symbol(I_FILE& f, const SYMTAB* sym) {
    f.i_write_sint(sym != nullptr ? static_cast<int32_t>(sym->depth) : -1);
    f.i_write_uint(sym != nullptr ? sym->index : 0);
    f.i_flush(REC_LDSPEC);
}

} // namespace

void I_FILE::if_write_ldspec_induct(uint32_t id, uint32_t a, int32_t step, TYPE* type, const SYMTAB* sym) {
    i_write_uint(id);
    i_write_i8(0);
    i_write_uint(a);
    i_write_sint(step);
    i_write_typeref(type);
    write_ldspec_symbol(*this, sym);
}

void I_FILE::if_write_ldspec_rand(uint32_t id, uint32_t a, uint32_t b, TYPE* type, const SYMTAB* sym) {
    i_write_uint(id);
    i_write_i8(1);
    i_write_uint(a);
    i_write_uint(b);
    i_write_typeref(type);
    write_ldspec_symbol(*this, sym);
}

void I_FILE::if_write_ldspec_region(uint32_t id, uint32_t a) {
    i_write_uint(id);
    i_write_i8(2);
    i_write_uint(a);
    i_flush(REC_LDSPEC);
}

void I_FILE::if_write_func_eht(const EHT_ENTRY* entries, uint32_t count) {
    i_write_uint(count);
    i_flush(REC_EHT);
    for (uint32_t i = 0; i < count; i++) {
        const EHT_ENTRY& entry = entries[i];
        i_write_uint(entry.id);
        i_write_uint(entry.kind);
        i_write_uint(entry.next);
        i_write_uint(entry.kind == EHK_CATCH ? static_cast<uint32_t>(entry.catches.size()) : entry.count);
        i_flush(REC_EHT_ENTRY);
        if (entry.kind == EHK_CLEANUP)
            if_write_expr(entry.cleanup, nullptr);
        else if (entry.kind == EHK_CATCH) {
            for (const I_CATCH_ENTRY& one : entry.catches) {
                i_write_string(one.type_name.c_str());
                i_write_uint(static_cast<uint32_t>(one.label));
                i_write_bool(one.flag);
            }
            i_flush(REC_CATCH);
        }
    }
}

void I_FILE::if_write_expr(NODE* tree, const PSN* psn) {
    i_write_psn(psn);
    i_flush(REC_STMT);
    if (tree != nullptr) if_write_expr_node(tree);
}

namespace {

// The fields of record 101 behind opcode and type.
void write_node_fields(I_FILE& f, NODE* node) {
    switch (node->op) {
    case LABEL: f.i_write_uint(static_cast<uint32_t>(node->label_id())); break;
    case NAME:
        if (const SYMTAB* sym = node->name_symbol(); sym != nullptr) {
            f.i_write_uint(sym->depth);
            f.i_write_uint(sym->index);
        } else {
            f.i_write_uint(UINT32_MAX);
            f.i_write_uint(0);
        }
        break;
    case SCON:
        f.i_write_uint(node->scon_length());
        f.i_write_raw(node->scon_value(), node->scon_length());
        break;
    case ICON:
        if (node->type != nullptr && node->type->is_signed())
            f.i_write_sint(node->icon_svalue());
        else
            f.i_write_uint(node->icon_uvalue());
        break;
    case FCON: f.i_write_string(node->fcon_value()); break;
    case LCON: f.i_write_string(node->lcon_value()); break;
    case FIELD:
        f.i_write_i8(node->field_kind());
        f.i_write_uint(node->field_mval()->id);
        f.i_write_typeref(node->field_csu());
        break;
    case SWITCH: f.i_write_uint(node->case_count()); break;
    case CALL:
        f.i_write_uint(node->call_num_vargs());
        f.i_write_uint(node->eh_entry_id());
        break;
    case UCALL: f.i_write_uint(node->eh_entry_id()); break;
    case EPVAL: f.i_write_uint(node->get_edge_profile_value()); break;
    case SKIP: f.i_write_uint(node->skip_count()); break;
    case DDNODE:
        f.i_write_uint(node->ddnode_id());
        f.i_write_uint(node->ddnode_locale());
        f.i_write_i8(node->ddnode_flags());
        break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: f.i_write_string(node->icall_name()); break;
    default: break;
    }
}

} // namespace

void I_FILE::if_write_expr_node(NODE* node) {
    // Prefix order: the node, its left tree, its right tree.
    std::vector<NODE*> waiting{node};
    while (!waiting.empty()) {
        NODE* n = waiting.back();
        waiting.pop_back();
        i_write_i8(n->op);
        i_write_typeref(n->type);
        write_node_fields(*this, n);
        i_flush(REC_NODE);
        if (n->op == SKIP) continue;
        if (n->right != nullptr) waiting.push_back(n->right);
        if (n->left != nullptr) waiting.push_back(n->left);
    }
}

void I_FILE::if_write_all_options() {
    if (option_sets.empty()) return;
    option_offset = static_cast<uint32_t>(if_tell());
    for (const OPTION_SET& set : option_sets) if_write_option_set(set);
    i_write_eof();
}

void I_FILE::if_write_all_files() {
    if (files.size() == 1) return;
    file_offset = static_cast<uint32_t>(if_tell());
    for (size_t i = 1; i < files.size(); i++) if_write_source(files[i]);
    i_write_eof();
}

void I_FILE::if_write_all_globals() {
    global_offset = static_cast<uint32_t>(if_tell());
    for (SYMTAB* sym : globals) if_write_symbol(sym);
    i_write_eof();
}
