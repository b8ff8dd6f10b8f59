// Folding of nodes with constant operands.
#include "simp/fold.h"
#include "simp/simp_int.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

TYPE* value_type(TYPE* type) { return normalized_underlying_type(type)->type_qualified(); }

bool is_scalar_value(TYPE* type) {
    return type != nullptr && (is_integer_like(type) || type->is_fltpt() || type->is_ptr() || type->is_ref());
}

INT65 icon_as(const NODE* icon, TYPE* type) {
    if (type->is_bool()) return !icon->u.lval.is_zero();
    return truncate_to_type(icon->u.lval, type);
}

NODE* become_ICON(NODE* node, INT65 value, TYPE* type) {
    erase_tree(node->left);
    erase_tree(node->right);
    remake(node, ICON, nullptr, nullptr, type);
    node->p = nullptr;
    node->u.lval = truncate_to_type(value, type);
    return node;
}

namespace {

// What the operator table says of a node.
enum FOLDING { FOLDED, STAYS };

INT65 relation(int op, INT65 a, INT65 b, TYPE* type) {
    if (op >= ULE) {
        a = a & type_mask(type);
        b = b & type_mask(type);
    }
    switch (op) {
    case EQ: return a == b;
    case NEQ: return a != b;
    case LE:
    case ULE: return a <= b;
    case LT:
    case ULT: return a < b;
    case GE:
    case UGE: return a >= b;
    default: return a > b;
    }
}

// Quotient or remainder in the type. What the target leaves undefined stays: x / 0 and the smallest value by -1.
FOLDING divide(int op, INT65 a, INT65 b, TYPE* type, INT65& result) {
    if (b.is_zero()) return STAYS;
    if (type->is_signed() && b == INT65(-1) && a == int_type_min(type)) return STAYS;
    result = op == DIV ? a / b : a % b;
    return FOLDED;
}

FOLDING shift(int op, INT65 a, INT65 count, TYPE* type, INT65& result) {
    if (count.is_negative() || count > INT65(type->size())) return STAYS;
    result = op == SLL ? a << count.low : a >> count.low;
    return FOLDED;
}

// The value of a node of one or two integer constants, in the type `type`; `a` and `b` are of that type already, but
// for a count of a shift.
FOLDING evaluate(int op, INT65 a, INT65 b, TYPE* type, INT65& result) {
    switch (op) {
    case PLUS: result = a + b; break;
    case MINUS: result = a - b; break;
    case MULT: result = a * b; break;
    case DIV:
    case MOD: return divide(op, a, b, type, result);
    case ANDB: result = a & b; break;
    case ORB: result = a | b; break;
    case XORB: result = a ^ b; break;
    case SLL:
    case SRL: return shift(op, a, b, type, result);
    case UMINUS: result = -a; break;
    case NOTB: result = ~a; break;
    case ABS: result = a.is_negative() ? -a : a; break;
    case SQR: result = a * a; break;
    case SCONV: result = a; break;
    default: return STAYS;
    }
    return FOLDED;
}

// Constants only; the node itself in its new form, or null.
NODE* fold_integer_node(NODE* tree) {
    const NODE* left = tree->left;
    const NODE* right = tree->right;
    if (tree->op == EXCLAIM) return become_ICON(tree, left->u.lval.is_zero(), tp->int_type());
    if (opcode_is_comparison(tree->op)) {
        TYPE* type = value_type(combined_type_for_types(left->type, right->type));
        return become_ICON(tree, relation(tree->op, icon_as(left, type), icon_as(right, type), type), tp->int_type());
    }
    if (tree->type == nullptr || !is_integer_like(tree->type)) return nullptr;
    TYPE* type = value_type(tree->type);
    bool is_shift = opcode_is_shift(tree->op);
    INT65 a = icon_as(left, type), result;
    INT65 b = right == nullptr ? INT65() : is_shift ? right->u.lval : icon_as(right, type);
    return evaluate(tree->op, a, b, type, result) == FOLDED ? become_ICON(tree, result, type) : nullptr;
}

// C op x  ->  x op' C
bool commute(NODE* tree) {
    if (commute_inv[tree->op & 255] == ILLOP) return false;
    std::swap(tree->left, tree->right);
    tree->op = commute_inv[tree->op];
    return true;
}

bool is_constant_leaf(const NODE* tree) { return tree->op == ICON || tree->op == FCON; }

// x + 0, x - 0, x | 0, x ^ 0, x >> 0, x * 1, x / 1: x in the node's type.
bool is_identity(const NODE* tree) {
    const NODE* right = tree->right;
    if (right == nullptr || right->op != ICON || tree->left->op == ICON) return false;
    if (!is_integer_like(tree->type) && !tree->type->is_ptr()) return false;
    switch (tree->op) {
    case PLUS:
    case MINUS:
    case ORB:
    case XORB:
    case SLL:
    case SRL: return right->u.lval.is_zero();
    case MULT:
    case DIV: return right->u.lval == INT65(1);
    default: return false;
    }
}

// (x op C1) op C2, or (p + i) + C with an integer below: the constants may join.
bool constants_may_join(const NODE* tree) {
    if (tree->right == nullptr || tree->right->op != ICON || commute_inv[tree->op & 255] != tree->op) return false;
    const NODE* left = tree->left;
    return left->op == tree->op &&
           (left->right->op == ICON || (left->type->is_ptr() && is_integer_like(left->right->type)));
}

NODE* fold_one(NODE* tree) {
    if (tree->left == nullptr) return tree;
    if (is_constant_leaf(tree->left)) return fold_node(tree);
    if (tree->right == nullptr || tree->right->op != ICON) return tree;
    if (is_identity(tree)) {
        NODE* value = tree->left;
        erase_node(tree->right);
        TYPE* type = tree->type;
        erase_node(tree);
        return coerce_to_type(value, type);
    }
    return constants_may_join(tree) ? simp_node(tree) : tree;
}

} // namespace

NODE* fold_node(NODE* tree) {
    NODE* left = tree->left;
    NODE* right = tree->right;
    if (left == nullptr || !is_constant_leaf(left)) return tree;
    if (right != nullptr && !is_constant_leaf(right)) {
        commute(tree);
        return tree;
    }
    NODE* folded;
    bool floating = left->op == FCON || (right != nullptr && right->op == FCON) ||
                    (tree->type != nullptr && tree->type->is_fltpt());
    folded = floating ? fold_float_node(tree) : fold_integer_node(tree);
    return folded != nullptr ? folded : tree;
}

NODE* fold_constants(NODE* tree) { return rewrite_tree(tree, fold_one); }
