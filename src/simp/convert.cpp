// Conversions: what SCONV, PCONV and ACONV simplify to, and the ways to bring a value to a type.
#include "simp/fold.h"
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/fps.h"
#include "ir/opt_expr.h"
#include "ir/types.h"

bool same_type(TYPE* a, TYPE* b) { return a == b || compatible_types(a->type_qualified(), b->type_qualified(), false); }

bool is_field(const NODE* tree) {
    return (tree->op == STDOT || tree->op == STREF) && tree->right->mval != nullptr && tree->right->mval->is_bitfield;
}

namespace {

bool is_integer_or_pointer(TYPE* type) { return is_integer_like(type) || type->is_ptr(); }

struct LIMITS {
    INT65 low, high;
};
LIMITS limits_of(TYPE* type) { return {int_type_min(type), int_type_max(type)}; }

// Every value of the one type is a value of the other. Pointers count as unsigned integers.
bool type_holds_values(TYPE* outer, TYPE* inner) {
    if (inner->is_fltpt()) return outer->is_fltpt() && outer->size() >= inner->size();
    if (!is_integer_or_pointer(inner)) return false;
    LIMITS from = limits_of(inner);
    if (outer->is_fltpt()) {
        unsigned digits = outer->size() <= 32 ? 24 : 53;
        INT65 most = INT65(1) << digits;
        return -most <= from.low && from.high <= most;
    }
    if (!is_integer_or_pointer(outer)) return false;
    LIMITS to = limits_of(outer);
    return to.low <= from.low && from.high <= to.high;
}

NODE* mk_zero(TYPE* type) {
    if (type->is_ptr() || type->is_array()) return mk_PCONV(mk_ICON(0, tp->int_type()), type);
    if (is_integer_like(type)) return mk_ICON(0, value_type(type));
    NODE* zero = maketree(FCON, nullptr, nullptr, type->type_qualified());
    zero->u.fval = new simul_fval(pos_zero);
    return zero;
}

NODE* mk_test(NODE* x) { return maketree(NEQ, x, mk_zero(x->type), tp->int_type(), x->scope); }

// The operand of a conversion takes the place of the conversion.
NODE* drop_conversion(NODE* tree) {
    NODE* value = tree->left;
    erase_node(tree);
    return value;
}

// The operand of the operand takes its place.
void skip_operand(NODE* tree) {
    NODE* inner = tree->left;
    tree->left = inner->left;
    erase_node(inner);
}

// ------------------------------------------------------------------------------------------------------------ SCONV
// These rules serve ACONV as well: the node keeps its operator.

// constant -> the constant in the new type
NODE* constant_operand(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->left->op != ICON && tree->left->op != FCON) return nullptr;
    int op = tree->op;
    tree->op = SCONV;
    NODE* folded = fold_node(tree);
    if (folded->op == SCONV) {
        folded->op = op;
        return nullptr;
    }
    return folded;
}

// (T)x of type T -> x
NODE* same_type_operand(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    return same_type(tree->left->type, tree->type) ? drop_conversion(tree) : nullptr;
}

// (bool)x -> (bool)(x != 0)
NODE* to_bool(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!tree->type->is_bool() || !is_scalar_value(tree->left->type) || returns_1_or_0(tree->left)) return nullptr;
    tree->left = simp_node(mk_test(tree->left), loop, context);
    return returns_1_or_0(tree->left) ? simp_node(tree, loop, context) : tree;
}

// (T)(pointer)x -> (T)x, where the address is x itself, or its low bits are all that is taken
NODE* of_pointer_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (inner->op != PCONV || !is_integer_like(tree->type) || tree->type->is_bool()) return nullptr;
    TYPE* from = inner->left->type;
    bool low_bits = is_integer_like(from) && tree->type->size() <= inner->type->size();
    if (!from->is_ptr() && !low_bits && !(is_integer_like(from) && type_holds_values(inner->type, from)))
        return nullptr;
    skip_operand(tree);
    return simp_node(tree, loop, context);
}

// (T)(M)x -> (T)x, where M holds every value of x, or takes no bit that T keeps
NODE* of_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (inner->op != SCONV) return nullptr;
    TYPE *to = tree->type, *middle = inner->type, *from = inner->left->type;
    if (!is_scalar_value(to) || !is_scalar_value(middle) || !is_scalar_value(from)) return nullptr;
    bool mergeable;
    if (to->is_bool() || middle->is_bool())
        mergeable = is_integer_like(to) && is_integer_like(from) && returns_1_or_0(inner->left);
    else {
        bool all_integers = is_integer_like(to) && is_integer_like(middle) && is_integer_or_pointer(from);
        mergeable = type_holds_values(middle, from) || (all_integers && middle->size() >= to->size());
        // By way of a float, an integer out of T's range has no value; directly it would have one.
        if (middle->is_fltpt() && is_integer_or_pointer(from) && is_integer_like(to))
            mergeable = mergeable && type_holds_values(to, from);
    }
    if (!mergeable) return nullptr;
    skip_operand(tree);
    return simp_node(tree, loop, context);
}

// (T)(x & C) -> (T)x, where C has every bit of T
NODE* of_mask(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (inner->op != ANDB || inner->right->op != ICON) return nullptr;
    TYPE* to = tree->type;
    if (!is_integer_like(to) || to->is_bool() || to->size() > inner->type->size() ||
        !is_integer_like(inner->left->type))
        return nullptr;
    INT65 mask = type_mask(to);
    if ((inner->right->u.lval & mask) != mask) return nullptr;
    erase_node(inner->right);
    skip_operand(tree);
    return simp_node(tree, loop, context);
}

// (integer)(pointer)C -> C
NODE* of_constant_pointer(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (inner->op != PCONV || inner->left->op != ICON || !is_integer_like(tree->type)) return nullptr;
    INT65 address = truncate_to_type(inner->left->u.lval, inner->type);
    tree->left = become_ICON(inner, address, tp->ptr_uint());
    return constant_operand(tree, loop, context);
}

const RULE scalar_rules[] = {
    {"constant", "(T)C -> C", constant_operand},
    {"same_type", "(T)x of type T -> x", same_type_operand},
    {"to_bool", "(bool)x -> (bool)(x != 0)", to_bool},
    {"constant_pointer", "(T)(pointer)C -> C", of_constant_pointer},
    {"pointer", "(T)(pointer)x -> (T)x", of_pointer_conversion},
    {"conversion", "(T)(M)x -> (T)x", of_conversion},
    {"mask", "(T)(x & C) -> (T)x", of_mask},
};
const RULE_SET scalar_set("SCONV", scalar_rules);

// ------------------------------------------------------------------------------------------------------------ PCONV

// (T*)p of type T* -> p. Another pointer type stays: it tells the later passes what is accessed.
NODE* same_pointer(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    TYPE* from = tree->left->type->type_qualified();
    return from->is_ptr() && compatible_types(from, tree->type->type_qualified(), true) ? drop_conversion(tree)
                                                                                        : nullptr;
}

// (T*)(U*)x -> (T*)x
NODE* pointer_of_pointer(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->left->op != PCONV || !tree->left->type->is_ptr()) return nullptr;
    skip_operand(tree);
    return simp_node(tree, loop, context);
}

// (T*)(M)x -> (T*)x, where M keeps every bit of an address or every value of x
NODE* pointer_of_integer(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (inner->op != SCONV || !is_integer_like(inner->type) || inner->type->is_bool()) return nullptr;
    TYPE* from = inner->left->type;
    if (!is_integer_or_pointer(from)) return nullptr;
    if (inner->type->size() < tree->type->size() && !type_holds_values(inner->type, from)) return nullptr;
    skip_operand(tree);
    return simp_node(tree, loop, context);
}

// (T*)C of any integer type -> (T*)C with C of pointer width
NODE* constant_address(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* constant = tree->left;
    TYPE* type = tp->ptr_int();
    if (constant->op != ICON || constant->type == type) return nullptr;
    constant->u.lval = truncate_to_type(constant->u.lval, type);
    constant->type = constant->orig_type = type;
    return tree;
}

// (T*)(p + C) -> (T*)p + C, so that constants of one address meet. Not to a pointer to void or to a function: where
// nothing is accessed, the sum keeps saying what the pointer points to.
NODE* pointer_of_sum(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->left;
    if (tree->op != PCONV || sum->op != PLUS || sum->right->op != ICON || !sum->type->is_ptr()) return nullptr;
    if (!sum->left->type->is_ptr()) return nullptr;
    TYPE* pointee = tree->type->type_pointed_to();
    if (pointee->is_void() || pointee->is_func()) return nullptr;
    TYPE* type = tree->type->type_qualified();
    LS* scope = tree->scope;
    erase_node(tree);
    sum->left = coerce_to_pointer_type(sum->left, type);
    sum->type = sum->orig_type = type;
    sum->scope = scope;
    return simp_node(sum, loop, context);
}

// (T*)(U*)&s -> (T*)&s, where U is the type of a member of s and not its own: the address of a member at the front
NODE* pointer_of_address(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* address = tree->left;
    if (tree->op != PCONV || address->op != UAND || address->left->op != NAME || !address->type->is_ptr())
        return nullptr;
    TYPE* object = address->left->type;
    if (!object->is_csu() || same_type(address->type->type_pointed_to(), object)) return nullptr;
    address->type = address->orig_type = tree->type->type_qualified();
    return drop_conversion(tree);
}

const RULE pointer_rules[] = {
    {"same_type", "(T*)p of type T* -> p", same_pointer},
    {"pointer", "(T*)(U*)x -> (T*)x", pointer_of_pointer},
    {"integer", "(T*)(M)x -> (T*)x", pointer_of_integer},
    {"constant", "(T*)C -> (T*)C of pointer width", constant_address},
    {"sum", "(T*)(p + C) -> (T*)p + C", pointer_of_sum},
    {"address", "(T*)(U*)&s -> (T*)&s", pointer_of_address},
};
const RULE_SET pointer_set("PCONV", pointer_rules);

// ---------------------------------------------------------------------------------------------- questions of 0 or 1

constexpr int max_bool_depth = 6;

bool is_one_unsigned_bit(const NODE* tree) {
    return is_field(tree) && tree->right->mval->bit_size == 1 && tree->type->is_unsigned();
}

bool yields_bit(const NODE* tree, int depth) {
    for (;;) {
        if (depth++ > max_bool_depth || tree->type == nullptr) return false;
        if (boolean_result[tree->op & 255]) return true;
        if (!is_integer_like(tree->type)) return false;
        switch (tree->op) {
        case ICON: return tree->u.lval.is_zero() || tree->u.lval == INT65(1);
        case NAME:
        case UMULT:
        case CALL:
        case UCALL: return tree->type->is_bool();
        case STDOT:
        case STREF: return tree->type->is_bool() || is_one_unsigned_bit(tree);
        case ANDB:
            if (yields_bit(tree->right, depth)) return true; // any value & one bit
            tree = tree->left;
            break;
        case ORB:
        case XORB:
            if (!yields_bit(tree->right, depth)) return false;
            tree = tree->left;
            break;
        case SCONV:
        case ACONV:
            if (tree->type->is_bool()) return true;
            tree = tree->left;
            break;
        case QUEST:
            if (tree->right->op != COLON || !yields_bit(tree->right->left, depth)) return false;
            tree = tree->right->right;
            break;
        case COMMAOP: tree = tree->right; break;
        case ASG:
            if (tree->type->is_bool() || is_one_unsigned_bit(tree->left)) return true;
            if (is_field(tree->left) && tree->left->right->mval->bit_size == 1) return false; // holds 0 and -1
            tree = tree->right;
            break;
        default: return opcode_is_op_assignment(tree->op) && (tree->type->is_bool() || is_one_unsigned_bit(tree->left));
        }
    }
}

} // namespace

bool returns_1_or_0(const NODE* tree) { return yields_bit(tree, 0); }

// -------------------------------------------------------------------------------------------------------- operators

NODE* simp_SCONV(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->type = tree->orig_type = value_type(tree->type);
    return scalar_set.run(tree, loop, context);
}

NODE* simp_PCONV(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return tree->type->is_ptr() ? pointer_set.run(tree, loop, context) : tree;
}

NODE* simp_ACONV(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->type->is_ptr()) return pointer_set.run(tree, loop, context);
    return is_scalar_value(tree->type) ? scalar_set.run(tree, loop, context) : tree;
}

// -------------------------------------------------------------------------------------------------------- coercions

NODE* coerce_to_pointer_type(NODE* tree, TYPE* type) {
    type = type->normalized()->type_qualified();
    if (same_type(tree->type, type)) return tree;
    return simp_node(mk_PCONV(tree, type));
}

NODE* coerce_to_type(NODE* tree, TYPE* type) {
    type = type->normalized()->type_qualified();
    if (type->is_ptr()) return coerce_to_pointer_type(tree, type);
    if (same_type(tree->type, type) || !is_scalar_value(type)) return tree;
    type = value_type(type);
    if (tree->op == ICON && is_integer_like(type)) {
        tree->u.lval = icon_as(tree, type);
        tree->type = tree->orig_type = type;
        return tree;
    }
    return simp_node(mk_SCONV(tree, type));
}

NODE* converted(NODE* tree, TYPE* type) {
    type = type->normalized()->type_qualified();
    if (type->is_ptr() || type->is_ref()) return mk_PCONV(tree, type);
    type = value_type(type);
    if (type->is_bool() && !returns_1_or_0(tree) && tree->op != ICON && tree->op != FCON) tree = mk_test(tree);
    return fold_node(mk_SCONV(tree, type));
}

// A value of a bit-field's declared type, cut to what the field holds: x << d >> d, in the sign of the field.
static NODE* cut_to_field(NODE* value, const fkMDATA* member, TYPE* field_type) {
    TYPE* type = promoted_type(field_type);
    if (type->size() <= member->bit_size) return value;
    type = field_type->is_signed() ? tp->mk_signed(type) : tp->mk_unsigned(type);
    int distance = static_cast<int>(type->size() - member->bit_size);
    value = coerce_to_type(value, type);
    for (int op : {SLL, SRL})
        value = simp_node(maketree(op, value, mk_ICON(distance, tp->int_type()), type, value->scope));
    return value;
}

NODE* truncate_RHS_for_assignment(NODE* lhs, NODE* rhs, bool coerce_only) {
    while (lhs->op == SSA_USE || lhs->op == SSA_DEF) lhs = lhs->left;
    TYPE* type = lhs->type->normalized()->type_qualified();
    if (!is_scalar_value(type)) return rhs;
    bool is_cut = is_field(lhs) && type->is_integral() && !type->is_bool() &&
                  !(lhs->orig_type != nullptr && (lhs->orig_type->is_enum() || lhs->orig_type->is_bool()));
    if (is_cut) rhs = cut_to_field(rhs, lhs->right->mval, type);
    if (coerce_only || type->is_ptr()) return coerce_to_type(rhs, type);
    return simp_node(mk_SCONV(rhs, type));
}
