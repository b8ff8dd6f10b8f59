// Control statements and assertions.
#include "simp/fold.h"
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <utility>

namespace {

// The hints of the two labels: each -1, 0 or 1, and one the opposite of the other.
void make_hints_opposite(NODE* first, NODE* second) {
    for (const NODE* label : {first, second})
        if (label->hint < -1 || label->hint > 1) abort_optimizer("ERROR - bad branch hint");
    if (first->hint == -second->hint) return;
    if (first->hint == 0)
        first->hint = static_cast<int8_t>(-second->hint);
    else if (second->hint == 0)
        second->hint = static_cast<int8_t>(-first->hint);
    else
        first->hint = second->hint = 0;
}

// IF(x == 0; L, M)  ->  IF(x; M, L)
NODE* swap_labels(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* test = tree->left;
    if (test->op != EQ || !is_zero_ICON(test->right)) return nullptr;
    NODE* labels = tree->right;
    std::swap(labels->left, labels->right);
    tree->left = test->left;
    erase_node(test->right);
    erase_node(test);
    return tree;
}

// SWITCH(x) {v: L; default: M}  ->  IF(x != v; M, L)
NODE* single_case(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* entries = tree->right;
    if (entries->op != COMMA || entries->left->op != CASE || entries->right->op != DEFAULT) return nullptr;
    if (tree_is_EH_SWITCH(tree)) return nullptr;
    NODE *one = entries->left, *otherwise = entries->right;
    LS* scope = tree->scope;
    NODE* value = coerce_to_type(one->left, tree->left->type->type_qualified());
    NODE* test = simp_node(maketree(NEQ, tree->left, value, tp->int_type(), scope), loop, context);
    entries->left = otherwise->left;
    entries->right = one->right;
    erase_node(otherwise);
    erase_node(one);
    return simp_node(remake(tree, IF, test, entries, tp->int_type()), loop, context);
}

const RULE if_rules[] = {{"swap_labels", "IF(x == 0; L, M) -> IF(x; M, L)", swap_labels}};
const RULE_SET if_set("if", if_rules);

const RULE switch_rules[] = {{"single_case", "SWITCH(x) {v: L; default: M} -> IF(x != v; M, L)", single_case}};
const RULE_SET switch_set("switch", switch_rules);

} // namespace

NODE* simp_IF(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    make_hints_opposite(tree->right->left, tree->right->right);
    do {
        tree->left = simp_for_control(tree->left, loop, context);
        if (tree->left->op == SCON || tree->left->op == FCON) tree->left = make_boolean(tree->left, loop, context);
    } while (if_set.try_rules(tree, loop, context) != nullptr);
    return tree;
}

NODE* simp_SWITCH(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return switch_set.run(tree, loop, context); }

// CBRANCH(0, L)  ->  BRANCH(L)        CBRANCH(1, L)  ->  1
NODE* simp_CBRANCH(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->left = simp_for_control(tree->left, loop, context);
    NODE* condition = tree->left;
    if (condition->op != ICON) return tree;
    if (!condition->u.lval.is_zero()) {
        erase_tree(tree->right);
        erase_node(tree);
        return condition;
    }
    NODE* target = tree->right;
    erase_node(condition);
    return remake(tree, BRANCH, target, nullptr, tp->int_type());
}

// ------------------------------------------------------------------------------------------------------ assertions

// An assertion of c ? a : b stays whole. In the arms, c ? assert(a) : assert(b), it would cost what assertions never
// cost, the test of c and a branch; and an assertion is a statement, which has no place inside an expression
// (cfg/validate_stmts.cpp).
namespace {

bool is_boolean_ANDB(const NODE* tree) {
    return tree->op == ANDB && returns_1_or_0(tree->left) && returns_1_or_0(tree->right);
}

// What is true anyway says nothing; a plain ASSERT of what is false is dropped as well.
NODE* constant_assertion(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* fact = tree->left;
    if (fact->op != ICON || (fact->u.lval.is_zero() && tree->op == NASSERT)) return nullptr;
    erase_tree(tree);
    return mk_ICON(0, tp->int_type());
}

// assert(a && b)  ->  assert(a), assert(b)
NODE* split_assertion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* fact = tree->left;
    if (!(fact->op == ANDAND && tree_is_pure(fact->right)) && !is_boolean_ANDB(fact)) return nullptr;
    NODE* second = simp_node(maketree(tree->op, fact->right, nullptr, tree->type, tree->scope), loop, context);
    tree->left = fact->left;
    erase_node(fact);
    NODE* first = simp_node(tree, loop, context);
    return simp_node(maketree(COMMAOP, first, second, tp->void_type, first->scope), loop, context);
}

// assert((a || b) == 0)  ->  assert(!a && !b)
NODE* neither_holds(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* fact = tree->left;
    if (fact->op != EQ || !is_zero_ICON(fact->right) || fact->left->op != OROR) return nullptr;
    NODE* either = fact->left;
    NODE* not_a = simp_node(mk_EXCLAIM(either->left), loop, context);
    NODE* not_b = simp_node(mk_EXCLAIM(either->right), loop, context);
    erase_node(fact->right);
    erase_node(fact);
    tree->left = remake(either, ANDAND, not_a, not_b, tp->int_type());
    return simp_node(tree, loop, context);
}

// assert(a || b)  ->  assert(a != 0 | b != 0)
NODE* joined_assertion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* fact = tree->left;
    if (fact->op != OROR || !tree_is_pure(fact->right) || rhs_may_need_guard_in_lhs(fact->right, fact->left))
        return nullptr;
    forget_exactness(fact->right);
    fact->right = simp_tree(fact->right, loop, context); // some rules find less now
    NODE* a = coerce_to_type(make_boolean(fact->left, loop, context), tp->int_type());
    NODE* b = coerce_to_type(make_boolean(fact->right, loop, context), tp->int_type());
    tree->left = simp_node(remake(fact, ORB, a, b, tp->int_type()), loop, context);
    return simp_node(tree, loop, context);
}

const RULE assert_rules[] = {
    {"constant", "assert(1) -> 0", constant_assertion},
    {"neither", "assert((a || b) == 0) -> assert(!a && !b)", neither_holds},
    {"split", "assert(a && b) -> assert(a), assert(b)", split_assertion},
    {"joined", "assert(a || b) -> assert(a != 0 | b != 0)", joined_assertion},
};
const RULE_SET assert_set("assert", assert_rules);

} // namespace

NODE* simp_ASSERT(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->left = simp_for_control(tree->left, loop, context);
    return assert_set.run(tree, loop, context);
}
