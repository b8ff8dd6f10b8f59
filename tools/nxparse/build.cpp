#include "build.h"

#include <cstring>

NODE* node0(int op, TYPE* type) { return new_node(op, type); }

NODE* node1(int op, TYPE* type, NODE* left) {
    NODE* n = new_node(op, type);
    n->left = left;
    return n;
}

NODE* node2(int op, TYPE* type, NODE* left, NODE* right) {
    NODE* n = new_node(op, type);
    n->left = left;
    n->right = right;
    return n;
}

NODE* icon(INT65 value, TYPE* type) {
    NODE* n = new_node(ICON, type);
    n->u.lval = truncate_to_type(value, type);
    return n;
}

NODE* icon(int64_t value) { return icon(INT65(static_cast<long long>(value)), tp->int_type()); }

NODE* fcon(const std::string& number, TYPE* type) {
    NODE* n = new_node(FCON, type);
    n->mk_fcon(number.c_str());
    return n;
}

NODE* scon(const std::string& bytes, TYPE* type) {
    NODE* n = new_node(SCON, type);
    n->mk_scon(bytes.data(), static_cast<uint32_t>(bytes.size()));
    return n;
}

NODE* name_of(SYMTAB* sym, TYPE* type) {
    NODE* n = new_node(NAME, type);
    n->mk_name(sym);
    return n;
}

NODE* label_ref(uint32_t number) {
    NODE* n = new_node(LABEL, tp->int_type());
    n->mk_label(number);
    return n;
}

NODE* field_of(fkMDATA* member, TYPE* record) {
    NODE* n = new_node(FIELD, member->type);
    n->mval = member;
    n->u.csu = record;
    return n;
}

NODE* sequence(NODE* first, NODE* second) {
    if (first == nullptr) return second;
    if (second == nullptr) return first;
    return node2(COMMAOP, second->type->stqs(), first, second);
}

NODE* chain(int op, const std::vector<NODE*>& items, TYPE* type) {
    NODE* all = nullptr;
    for (NODE* item : items) all = all == nullptr ? item : node2(op, type, all, item);
    return all;
}

ICODE_WRITER::ICODE_WRITER(FILE* stream, const char* producer) : file_(if_create(stream, tp, producer)) {}

ICODE_WRITER::~ICODE_WRITER() {
    for (auto& [sym, nodes] : initialisers_)
        for (NODE* n : nodes) erase_tree(n);
}

SYMTAB* ICODE_WRITER::local(const std::string& name, TYPE* type, int sclass, PSN* psn, uint32_t align_bits) {
    uint16_t quals = type->qual_kind(true) & QUAL_VOLATILE ? CQ_VOLATILE : 0;
    uint32_t align = align_bits > type->align_bits ? align_bits : type->align_bits;
    return new SYMTAB(name.c_str(), type->is_func() ? 0 : type->size_bits, 0, uint8_t(sclass), quals, type, type, align,
                      psn, 0);
}

SYMTAB* ICODE_WRITER::global(const std::string& name, TYPE* type, int sclass, PSN* psn, uint32_t align_bits) {
    SYMTAB* sym = local(name, type, sclass, psn, align_bits);
    file_->if_enter_global(sym);
    return sym;
}

void ICODE_WRITER::add_pragma(SYMTAB* sym, uint32_t kind, std::vector<std::string> strings) {
    PRAGMA** at = &sym->pragmas;
    while (*at != nullptr) at = &(*at)->next;
    *at = new PRAGMA(kind, std::move(strings));
}

void ICODE_WRITER::set_initialiser(SYMTAB* sym, std::vector<NODE*> nodes) {
    if (!nodes.empty()) initialisers_.emplace_back(sym, std::move(nodes));
}

void ICODE_WRITER::top_level_assembly(const std::string& text, PSN* psn) {
    file_->if_write_assembly(text.c_str(), psn);
}

namespace {

// Wide constants take their decimal form; counts the nesting of operands within operands, the cells of lists aside.
void prepare(NODE* n, int depth, PSN* psn) {
    for (; n != nullptr; n = n->right) {
        if (n->op != COMMA && ++depth > max_node_depth) throw TOO_DEEP{psn};
        if (n->op == ICON && n->type->size_bits > 32 &&
            !(n->type->is_signed() ? n->u.lval.fits_s32() : n->u.lval.fits_u32()))
            n->op = LCON;
        prepare(n->left, depth, psn);
    }
}

} // namespace

void ICODE_WRITER::write_tree(NODE* tree, PSN* psn) {
    prepare(tree, 0, psn);
    file_->if_write_expr(tree, psn);
    erase_tree(tree);
}

void ICODE_WRITER::write_block(BLOCK& block) {
    for (ITEM& item : block.items) {
        if (item.tree != nullptr) {
            write_tree(item.tree, item.psn);
            item.tree = nullptr;
        } else if (item.block != nullptr) {
            file_->if_write_begin_block(item.block->begin);
            for (SYMTAB* sym : item.block->locals) {
                file_->if_enter_local(sym);
                file_->if_write_symbol(sym);
            }
            write_block(*item.block);
            file_->if_write_end_block(item.block->end);
        } else if (item.pragma != nullptr) {
            file_->if_write_pragma(item.pragma.get());
        } else if (item.assembly != nullptr) {
            file_->if_write_assembly(item.assembly->c_str(), item.psn);
        } else {
            file_->if_write_label(item.label);
        }
    }
}

void ICODE_WRITER::write_function(FUNCTION_BODY& body) {
    BLOCK& outer = body.blocks.front();
    file_->if_write_begin_func(body.sym, body.begin);
    for (SYMTAB* sym : body.params) {
        file_->if_enter_local(sym);
        file_->if_write_symbol(sym);
    }
    file_->if_write_end_args(body.begin);
    for (SYMTAB* sym : outer.locals) {
        file_->if_enter_local(sym);
        file_->if_write_symbol(sym);
    }
    file_->if_write_end_locals(body.locals_end);
    write_block(outer);
    file_->if_write_end_func(body.end);
}

bool ICODE_WRITER::finish() {
    for (auto& [sym, nodes] : initialisers_) {
        file_->if_write_init(sym);
        for (NODE* n : nodes) {
            prepare(n, 0, nullptr);
            file_->if_write_expr_node(n);
        }
        NODE* end = node0(ENDINIT, nullptr);
        file_->if_write_expr_node(end);
        erase_tree(end);
    }
    // All basic types are in every file, so that a reader takes the sizes of this machine whatever the program uses.
    for (TYPE* t : tp->ints)
        if (!t->is_wchar_t()) file_->if_reference_type(t);
    for (TYPE* t : tp->floats) file_->if_reference_type(t);
    file_->if_reference_type(tp->void_type);
    file_->if_reference_type(tp->void_ptr);
    return file_->if_close(true, false) == 0;
}
