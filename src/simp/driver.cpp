// The walk over trees and the dispatch on the operator.
#include "simp/fold.h"
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "icode/opt_client.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <utility>
#include <vector>

bool must_preserve_STDOT = false;
bool trees_are_normalized = false;

namespace {

// Rules hand their results to simp_node again. Both limits are far above what canonical forms need; they stop rules
// that undo each other and chains so long that the recursion of the rules would reach deep into the stack.
constexpr int max_depth = 120;
constexpr int allowance_per_call = 4000;

int depth = 0;
int allowance = 0;

class NESTING {
  public:
    NESTING() {
        if (depth++ == 0) allowance = allowance_per_call;
    }
    ~NESTING() { depth--; }
    bool may_go_on() {
        if (depth > max_depth) return false;
        if (allowance > 0 && --allowance == 0) simp_allowance_exceeded++;
        return allowance > 0;
    }
};

// ------------------------------------------------------------------------------------------------- hoisting of ,OP

bool hoists_from_operands(const NODE* tree) {
    switch (tree->op) {
    case COLON:
    case ANDAND:
    case OROR:
    case RETURN:
    case SWITCH:
    case COMMA:
    case PCOMMA:
    case COMMAOP:
    case LOOP:
    case ENDLOOP:
    case ARGREF:
    case STARG:
    case ACONV:
    case CBRANCH:
    case SIMDHI:
    case SIMDLO:
    case IF:
    case SSA_DEF:
    case SSA_CHI: return false;
    default: return true;
    }
}

// The constant that an assignment of an ICON leaves as its value, as a tree of the assignment's type; null if the
// tree is no such assignment, or a bit-field takes less than the constant.
NODE* value_of_constant_assignment(const NODE* tree) {
    if (tree == nullptr || tree->op != ASG || tree->right->op != ICON || !is_integer_like(tree->type)) return nullptr;
    const NODE* target = tree->left;
    if (target->op == STDOT || target->op == STREF) {
        const fkMDATA* member = target->right->mval;
        if (member == nullptr || member->is_bitfield) return nullptr;
    }
    return mk_ICON(tree->right->u.lval, tree->type->type_qualified());
}

} // namespace

bool may_be_evaluated_behind(NODE* first, const NODE* effect) {
    constexpr int limit = 60, effect_limit = 500; // nodes of each that are looked at
    if (!tree_is_pure(first, limit) || count_nodes_in_tree(effect, effect_limit) == effect_limit) return false;
    bool safe = true;
    walk_tree_top_down(first, [&](NODE* node) {
        switch (node->op) {
        case UAND: return node->left->op != NAME;
        case NAME:
        case UMULT:
        case STDOT:
        case STREF:
            if (node->type->is_func()) return false;
            safe = safe && !tree_modifies_lvalue_in_tree(effect, node);
            return safe;
        default: return safe;
        }
    });
    return safe;
}

namespace {

// op((a, b), c)  ->  a, op(b, c)
// op(x = C, c)   ->  x = C, op(C, c)      and the same on the right, when the left operand may be evaluated later
// Assignments evaluate their right side first, calls their arguments; all others the left operand first.
NODE* hoist_effect(NODE* tree) {
    bool right_first = opcode_is_store(tree->op) || tree->op == CALL;
    auto hoist = [&](NODE*& operand, NODE* other, bool operand_is_first) -> NODE* {
        if (operand == nullptr) return nullptr;
        bool comma = operand->op == COMMAOP;
        NODE* value = comma ? operand->right : value_of_constant_assignment(operand);
        if (value == nullptr) return nullptr;
        NODE* effect = comma ? operand->left : operand;
        if (!operand_is_first && other != nullptr && !may_be_evaluated_behind(other, effect)) {
            if (!comma) erase_tree(value);
            return nullptr;
        }
        NODE* top = comma ? operand : maketree(COMMAOP, effect, nullptr, tree->type);
        operand = value;
        return top;
    };
    NODE* top = hoist(tree->left, tree->right, !right_first || tree->right == nullptr);
    bool constants_hoist = tree->op != ASG && tree->op != INITLOOP;
    if (top == nullptr && tree->right != nullptr && (constants_hoist || tree->right->op == COMMAOP) &&
        tree->op != QUEST)
        top = hoist(tree->right, tree->left, right_first);
    return top;
}

// ------------------------------------------------------------------------------------------------------- clean-up

LS* scope_of(const NODE* tree) { return tree != nullptr ? tree->scope : nullptr; }

void repair_scope(NODE* tree) {
    if (opcode_is_ASG(tree->op) && tree->left != nullptr && tree->left->scope == nullptr)
        tree->left->scope = tree->scope;
    if (tree->scope != nullptr) return;
    switch (tree->op) {
    case SWITCH:
    case COMMAOP: tree->scope = scope_of(tree->right); break;
    case CALL:
    case UCALL: tree->scope = scope_of(tree->left); break;
    default:
        tree->scope = scope_of(tree->left);
        if (tree->scope == nullptr) tree->scope = scope_of(tree->right);
        break;
    }
}

[[noreturn]] void bad_opcode(const NODE* tree) {
    char text[100];
    snprintf(text, sizeof text, "\n\n   !!! Bad opcode in simplifier (%d) %s !!!\n", tree->op, opname(tree->op));
    fputs(text, stderr);
    dprintf("%s", text);
    abort_optimizer();
}

// PMCONV counts bits, the target addresses 16-bit units: i * (bits / 16), and PVCONV: i / (bits / 16).
NODE* simp_scaling(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* scale = tree->right;
    if (scale->op != ICON) return tree;
    TYPE* type = tree->type->is_ptr() ? tp->ptr_int() : tree->type->type_qualified();
    tree->left = coerce_to_type(tree->left, type);
    INT65 units = truncate_to_type(scale->u.lval / INT65(16), type);
    erase_node(scale);
    int op = tree->op == PMCONV ? MULT : DIV;
    return simp_node(remake(tree, op, tree->left, mk_ICON(units, type), type), loop, context);
}

NODE* simp_STASG(NODE* tree) {
    tree->u.sym = tree->left->op == NAME ? tree->left->u.sym : nullptr;
    if (tree_is_arg_prolog(tree) || !trees_are_congruent(tree->left, tree->right)) return tree;
    NODE* value = tree->right;
    erase_tree(tree->left);
    erase_node(tree);
    return value;
}

// ------------------------------------------------------------------------------------------------------- dispatch

NODE* dispatch(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    switch (opcode_class(tree->op)) {
    case CLASS_SHIFT: return simp_shift(tree, loop, context);
    case CLASS_UNARY: return simp_unary(tree, loop, context);
    case CLASS_COMPARISON: return simp_relop(tree, loop, context);
    case CLASS_OP_ASG: return simp_opASG(tree, loop, context);
    case CLASS_CALL:
    case CLASS_BUILTIN: return simp_call(tree, loop, context);
    default: break;
    }
    switch (tree->op) {
    case PLUS: return simp_PLUS(tree, loop, context);
    case MINUS: return simp_MINUS(tree, loop, context);
    case MULT: return simp_MULT(tree, loop, context);
    case DIV: return simp_DIV(tree, 0, loop, context);
    case MOD: return simp_MOD(tree, loop, context);
    case ANDB: return simp_ANDB(tree, loop, context);
    case ORB: return simp_ORB(tree, loop, context);
    case XORB: return simp_XORB(tree, loop, context);
    case ANDAND: return simp_ANDAND(tree, loop, context);
    case OROR: return simp_OROR(tree, loop, context);
    case EXCLAIM: return simp_EXCLAIM(tree, loop, context);
    case QUEST: return simp_QUEST(tree, loop, context);
    case COMMAOP: return simp_COMMAOP(tree, loop, context);
    case ASG: return simp_ASG(tree, loop, context);
    case STASG: return simp_STASG(tree);
    case SCONV: return simp_SCONV(tree, loop, context);
    case PCONV: return simp_PCONV(tree, loop, context);
    case ACONV: return simp_ACONV(tree, loop, context);
    case PMCONV:
    case PVCONV: return simp_scaling(tree, loop, context);
    case UAND:
    case ARGREF: return simp_UAND(tree, loop, context);
    case UMULT: return simp_UMULT(tree, loop, context);
    case STDOT: return simp_STDOT(tree, loop, context);
    case STREF: return simp_STREF(tree, loop, context);
    case MEMCPY: return simp_MEMCPY(tree, loop, context);
    case EXPT: return simp_EXPT(tree, loop, context);
    case COMPLEX:
    case REAL:
    case IMAG: return simp_complexop(tree, loop, context);
    case CBRANCH: return simp_CBRANCH(tree, loop, context);
    case IF: return simp_IF(tree, loop, context);
    case SWITCH: return simp_SWITCH(tree, loop, context);
    case ASSERT:
    case NASSERT: return simp_ASSERT(tree, loop, context);
    case BRANCH: tree->type = tree->left->type = tp->int_type(); return tree;
    case CSE_DUPE:
    case CSE_ORIG:
    case ILLOP: bad_opcode(tree);
    default: return tree;
    }
}

// An assertion must not be used to simplify itself: the function's givens are set aside meanwhile.
class GIVENS_ASIDE {
  public:
    explicit GIVENS_ASIDE(bool aside) : aside_(aside && currfuninfo != nullptr) {
        if (aside_) std::swap(kept_, currfuninfo->global_assertions);
    }
    ~GIVENS_ASIDE() {
        if (aside_) std::swap(kept_, currfuninfo->global_assertions);
    }

  private:
    bool aside_;
    LIST* kept_ = nullptr;
};

} // namespace

NODE* remake(NODE* node, int op, NODE* left, NODE* right, TYPE* type) {
    node->op = op;
    node->left = left;
    node->right = right;
    node->type = node->orig_type = type;
    node->flags = static_cast<uint8_t>(node->flags & ~NODE_NO_WRAP);
    return node;
}

void forget_exactness(NODE* tree) {
    walk_tree(tree, [](NODE* node) { node->flags = static_cast<uint8_t>(node->flags & ~NODE_NO_WRAP); });
}

void keep_common_marks(NODE* kept, const NODE* gone) {
    std::vector<std::pair<NODE*, const NODE*>> pairs{{kept, gone}};
    while (!pairs.empty()) {
        auto [a, b] = pairs.back();
        pairs.pop_back();
        if (a == nullptr) continue;
        if (b == nullptr || a->op != b->op) { // congruent in another order: nothing is known of the parts
            forget_exactness(a);
            continue;
        }
        if (!(b->flags & NODE_NO_WRAP)) a->flags = static_cast<uint8_t>(a->flags & ~NODE_NO_WRAP);
        if (commute_inv[a->op & 255] != ILLOP && a->left != nullptr && !trees_are_congruent_se_ok(a->left, b->left)) {
            forget_exactness(a);
            continue;
        }
        pairs.push_back({a->left, b->left});
        if (a->op != CSE_DUPE) pairs.push_back({a->right, b->right});
    }
}

bool is_integer_like(TYPE* type) { return type->is_integral() || type->is_enum(); }

bool tree_is_pure(const NODE* tree, int limit) {
    return count_nodes_in_tree(tree, limit) < limit && !tree_has_side_effects(tree);
}

namespace {

// A constant operand of integer arithmetic takes the type in which the operator computes, as its conversion would: no
// rule then meets a constant that counts by another value than its own.
void type_constants(NODE* tree) {
    if (!opcode_is_binary_arithmetic(tree->op) || !tree->type->is_integral()) return;
    TYPE* type = value_type(tree->type);
    for (NODE* operand : {tree->left, tree->right})
        if (operand->op == ICON && operand->type != type && operand->type->is_integral()) {
            operand->u.lval = icon_as(operand, type);
            operand->type = operand->orig_type = type;
        }
}

} // namespace

NODE* simp_node(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->type != nullptr) tree->type = tree->type->normalized();
    if (tree->op != UMULT) tree->orig_type = tree->type;
    if (tree->left == nullptr && tree->op != ICALL) return tree; // a leaf
    NESTING nesting;
    if (!nesting.may_go_on()) return tree;
    if (hoists_from_operands(tree))
        if (NODE* top = hoist_effect(tree)) {
            top->scope = tree->scope;
            top->right = simp_node(tree, loop, context);
            top->type = top->orig_type = top->right->type;
            return simp_node(top, loop, context);
        }
    if (tree->left->op == ICON || tree->left->op == FCON) {
        tree = fold_node(tree);
        if (tree->left == nullptr) return tree;
    }
    repair_scope(tree);
    type_constants(tree);
    return dispatch(tree, loop, context);
}

NODE* simp_tree(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    GIVENS_ASIDE aside(tree->op == ASSERT || tree->op == NASSERT);
    return rewrite_tree(tree, [&](NODE* node) { return simp_node(node, loop, context); });
}

void simp_all_trees() {
    if (print_debug) dprintf("\n\n\t\t\t---------- ENTERING 'simp_all_trees' ----------\n");
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) cell->first = simp_tree(cell->first);
}
