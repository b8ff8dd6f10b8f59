// COMMAOP: an effect, then a value.
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

// How far down a chain the join looks for its front: chains grow by one link a time, and each must cost little.
static constexpr int max_links = 200;

NODE* join_effects(NODE* first, NODE* then) {
    if (first == nullptr || then == nullptr) return first == nullptr ? then : first;
    // a, (b, c)  ->  (a, b), c
    NODE** front = &then;
    for (int links = 0; (*front)->op == COMMAOP && links < max_links; links++) front = &(*front)->left;
    *front = mk_COMMAOP(first, *front);
    return then;
}

namespace {

// nothing, c -> c
NODE* without_effect(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->left != nullptr) return nullptr;
    NODE* value = tree->right;
    erase_node(tree);
    return value;
}

bool chain_is_short(const NODE* chain) {
    for (int links = 0; chain->op == COMMAOP; chain = chain->left)
        if (++links > max_links) return false;
    return true;
}

// a, (b, c) -> (a, b), c
NODE* rotate(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->right;
    if (inner->op != COMMAOP || !chain_is_short(inner->left)) return nullptr;
    inner->left = join_effects(tree->left, inner->left);
    inner->scope = tree->scope;
    erase_node(tree);
    return simp_node(inner, loop, context);
}

// The C of p = p + C or p += C with p a NAME; null for any other tree.
NODE* step_of_pointer(const NODE* effect) {
    if ((effect->op != ASG && effect->op != PLUSASG) || effect->left->op != NAME) return nullptr;
    NODE* step = effect->right;
    if (effect->op == ASG) {
        if (step->op != PLUS || step->left->op != NAME || step->left->u.sym != effect->left->u.sym) return nullptr;
        step = step->right;
    }
    return step->op == ICON ? step : nullptr;
}

// (p = p + C), p + -C -> p++ or p--, with the step C or -C
NODE* post_increment(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* value = tree->right;
    if (!tree->type->is_ptr() || value->op != PLUS || value->left->op != NAME || value->right->op != ICON)
        return nullptr;
    NODE* effect = tree->left->op == COMMAOP ? tree->left->right : tree->left;
    NODE* step = step_of_pointer(effect);
    if (step == nullptr || effect->left->u.sym != value->left->u.sym) return nullptr;
    TYPE* type = effect->left->type;
    if (!type->is_ptr() || type->is_volatile() || (value->left->u.sym->scqual & CQ_VOLATILE)) return nullptr;
    if (!compatible_types(type->type_qualified(), tree->type->type_qualified(), false)) return nullptr;
    if (!compatible_types(value->left->type->type_qualified(), type->type_qualified(), false)) return nullptr;
    INT65 forward = sign_extend_by_type_size(step->u.lval, type);
    INT65 back = sign_extend_by_type_size(value->right->u.lval, type);
    if (forward != -back || back.is_zero()) return nullptr;
    NODE* post =
        maketree(back.is_negative() ? PLUSPLUS : MINMIN, copy_tree(effect->left),
                 mk_ICON(back.is_negative() ? forward : back, tp->ptr_int()), type->type_qualified(), tree->scope);
    NODE* front = nullptr;
    if (effect == tree->left)
        erase_tree(effect);
    else {
        front = tree->left->left;
        erase_tree(effect);
        erase_node(tree->left);
    }
    erase_tree(value);
    erase_node(tree);
    return mk_COMMAOP(front, post);
}

const RULE comma_rules[] = {
    {"effect", "nothing, c -> c", without_effect},
    {"rotate", "a, (b, c) -> (a, b), c", rotate},
    {"increment", "(p = p + C), p - C -> p++", post_increment},
};
const RULE_SET comma_set("COMMAOP", comma_rules);

} // namespace

NODE* simp_COMMAOP(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    // Only the effects of the left operand count; what stands further left in a chain was reduced before.
    NODE* left = tree->left;
    if (left->op != COMMAOP)
        tree->left = peel_for_effect(left);
    else {
        tree->left = join_effects(left->left, peel_for_effect(left->right));
        erase_node(left);
    }
    return comma_set.run(tree, loop, context);
}
