// Reading of values out of a symbol's initialiser.
//
// The nodes of an initialiser stand one behind the other, each as wide as its own type; SKIP leaves a gap of zeros, and
// everything behind the list is zero. Cost: one walk of the list for a look-up.
#include "ir/opt_expr.h"
#include "ir/pragma.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <map>
#include <utility>

namespace {

constexpr uint32_t unit_bits = 16;

// Constants that a look-up makes: they belong to this table, so that a result never has to be freed. Look-up only.
std::map<std::pair<TYPE*, uint64_t>, NODE*> constants;

NODE* shared_constant(TYPE* type, INT65 value) {
    NODE*& node = constants[{type, value.bits64()}];
    if (node != nullptr) return node;
    if (type->is_fltpt()) {
        node = new_node(FCON, type);
        node->mk_fcon("0");
    } else if (type->is_ptr()) {
        node = mk_PCONV(mk_ICON(value, tp->int_type()), type);
    } else {
        node = mk_ICON(value, type);
    }
    return node;
}

// The node's value as one of `type`; null if it is a value of another nature.
NODE* read_as(NODE* node, TYPE* type) {
    if (compatible_types(node->type->type_qualified(), type, false)) return node;
    if (node->op == ICON && node->type->is_integral() && type->is_integral())
        return shared_constant(type, truncate_to_type(node->u.lval, type));
    if (node->type->is_ptr() && type->is_ptr()) return node;
    return nullptr;
}

bool can_be_read(TYPE* type) {
    return (type->is_integral() || type->is_fltpt() || type->is_ptr()) && type->size() % unit_bits == 0 &&
           type->size() != 0;
}

} // namespace

void forget_autoinit_constants() {
    for (auto& [key, node] : constants) erase_tree(node);
    constants.clear();
}

NODE* lookup_autoinit(SYMTAB* sym, uint32_t offset, TYPE* type) {
    if (type->is_enum()) type = normalized_underlying_type(type);
    type = type->type_qualified()->normalized();
    if (sym->init == nullptr || !can_be_read(type)) return nullptr;
    uint64_t units = type->size() / unit_bits, start = offset, end = start + units;
    if (end > sym->size / unit_bits) return nullptr;
    uint64_t at = 0;  // where the cell's node begins
    bool gap = false; // the value began in a gap that ended inside it
    for (EXPR_CELL* cell = sym->init->head; cell != nullptr && at < end; cell = cell->next) {
        NODE* node = cell->node;
        if (node->op == ENDINIT) break;
        bool characters = node->op == SCON && node->type->is_array();
        uint64_t width = node->op == SKIP ? node->skip_count()
                         : characters     ? node->scon_length()
                                          : node->type->size() / unit_bits;
        uint64_t next = at + width;
        if (next > start && node->op == SKIP) {
            if (at <= start && end <= next) return shared_constant(type, INT65());
            gap = true;
        } else if (next > start && width != 0) {
            if (gap || start < at || end > next) return nullptr; // only a part of the value is here
            if (characters) {
                unsigned char c = static_cast<unsigned char>(node->text[start - at]);
                return units == 1 && type->is_integral() ? shared_constant(type, truncate_to_type(INT65(c), type))
                                                         : nullptr;
            }
            return start == at && end == next ? read_as(node, type) : nullptr;
        }
        at = next;
    }
    return shared_constant(type, INT65()); // behind the list, or in gaps and behind it
}

NODE* lookup_autoinit(NODE* lvalue) {
    int64_t bits = 0;
    NODE* node = lvalue;
    for (; node != nullptr && node->op == STDOT; node = node->left) {
        const fkMDATA* member = node->right->mval;
        if (member == nullptr || member->is_bitfield) return nullptr;
        bits += member->bit_offset;
    }
    if (node == nullptr || node->op != NAME || bits < 0 || bits % unit_bits != 0) return nullptr;
    return lookup_autoinit(node->u.sym, static_cast<uint32_t>(bits / unit_bits), lvalue->type);
}

NODE* lookup_array_autoinit(SYMTAB* sym, uint32_t index) {
    if (!sym->type->is_array()) return nullptr;
    TYPE* element = sym->type->elem_type();
    uint64_t offset = static_cast<uint64_t>(index) * (element->size() / unit_bits);
    if (offset > UINT32_MAX) return nullptr;
    return lookup_autoinit(sym, static_cast<uint32_t>(offset), element);
}
