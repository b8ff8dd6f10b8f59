#include "cfg/unsimplify.h"

#include "cfg/bbutils.h"
#include "ir/tree_slots.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>
#include <vector>

namespace {

constexpr int largest_power = 64; // multiplications that a power may become

// The node goes, its operand takes its place.
NODE* drop_to_operand(NODE* node, NODE* NODE::*operand) {
    NODE* kept = node->*operand;
    NODE* other = operand == &NODE::left ? node->right : node->left;
    erase_tree(other);
    node->left = node->right = nullptr;
    erase_node(node);
    return kept;
}

NODE* zero_of_type(TYPE* type) {
    NODE* zero = mk_ICON(0, type->is_integral() || type->is_enum() ? type->type_qualified() : tp->int_type());
    if (type->is_ptr()) return mk_PCONV(zero, type);
    return type->is_fltpt() ? mk_SCONV(zero, type) : zero;
}

// c ? a :  ->  c ? a : 0, of the type of the arm that is there
NODE* refill_COLON(NODE* colon) {
    NODE* there = colon->left != nullptr ? colon->left : colon->right;
    TYPE* type = there != nullptr ? there->type : colon->type;
    if (colon->left == nullptr) colon->left = zero_of_type(type);
    if (colon->right == nullptr) colon->right = zero_of_type(type);
    return colon;
}

// (U* p i)  ->  U* (p + i)
NODE* add_subscript(NODE* umult) {
    umult->left = maketree(PLUS, umult->left, umult->right, umult->left->type, umult->scope);
    umult->right = nullptr;
    return umult;
}

// x ** n  ->  x * x * ... * x
NODE* power_to_product(NODE* node) {
    NODE *base = node->left, *exponent = node->right;
    bool small = exponent->op == ICON && !exponent->u.lval.is_negative() && exponent->u.lval <= INT65(largest_power);
    if (!small || tree_has_side_effects(base)) abort_optimizer("ERROR - a power that cannot be written as a product");
    int n = static_cast<int>(exponent->u.lval.low);
    NODE* product = n == 0 ? nullptr : copy_tree(base);
    for (int i = 1; i < n; i++) product = maketree(MULT, product, copy_tree(base), node->type, node->scope);
    if (product == nullptr) {
        NODE* one = mk_ICON(1, node->type->is_integral() ? node->type->type_qualified() : tp->int_type());
        product = node->type->is_fltpt() ? mk_SCONV(one, node->type) : one;
    }
    erase_tree(node);
    return product;
}

// "__sqc"(c, a, b)  ->  c ? a : b. The builtin evaluates all three: an arm with an effect is saved in a temporary
// first.
NODE* strict_ternary_to_QUEST(NODE* call) {
    std::vector<NODE*> args = comma_list(call->left);
    if (args.size() != 3) return call;
    NODE* saved = nullptr;
    if (tree_has_side_effects(args[1]) || tree_has_side_effects(args[2]))
        for (NODE*& arg : args) {
            SYMTAB* temp = sym_temp('Q', -1, arg->type->type_qualified(), nullptr);
            saved = mk_COMMAOP(saved, mk_ASG(mk_NAME(temp, arg->scope), arg));
            arg = mk_NAME(temp, arg->scope);
        }
    NODE* chain = call->left;
    for (int cells = 0; cells < 2; cells++) {
        NODE* next = chain->left;
        erase_node(chain);
        chain = next;
    }
    NODE* colon = maketree(COLON, args[1], args[2], call->type, call->scope);
    NODE* quest = maketree(QUEST, args[0], colon, call->type, call->scope);
    call->left = nullptr;
    erase_node(call);
    return mk_COMMAOP(saved, quest);
}

// "def$assert"(x, assertion) and "def$entry"(x)  ->  x
NODE* definition_to_value(NODE* call) {
    NODE* args = call->left;
    while (args->op == COMMA) args = drop_to_operand(args, &NODE::left);
    call->left = nullptr;
    erase_node(call);
    return args;
}

NODE* lower_builtin(NODE* call) {
    if (strcmp(call->u.name, "__sqc") == 0) return strict_ternary_to_QUEST(call);
    if (strcmp(call->u.name, "def$assert") == 0 || strcmp(call->u.name, "def$entry") == 0)
        return definition_to_value(call);
    return call;
}

// One step of the rewriting of the node; the node itself if there is nothing to do.
NODE* lower(NODE* node) {
    switch (node->op) {
    case ISP2CHAR: node->op = PCONV; return node;
    case IDENTITY:
    case OUIALIGN:
    case NONALIGN: return drop_to_operand(node, &NODE::left);
    case INITLOOP:
    case CSE_ORIG: return drop_to_operand(node, &NODE::right);
    case UMULT: return node->right != nullptr ? add_subscript(node) : node;
    case COLON: return node->left == nullptr || node->right == nullptr ? refill_COLON(node) : node;
    case EXPT: return power_to_product(node);
    case ICALL: return lower_builtin(node);
    default: return node;
    }
}

// Shared values are copied first: what they are shared from is rewritten, and partly replaced, afterwards.
NODE* copy_shared_values(NODE* tree) {
    walk_slots(tree, [](NODE*& slot) {
        while (slot->op == CSE_DUPE) {
            NODE* value = copy_tree(slot->right);
            erase_tree(slot);
            slot = value;
        }
        return true;
    });
    return tree;
}

NODE* lower_tree(NODE* tree) {
    walk_slots(tree, [](NODE*& slot) {
        for (NODE* before = nullptr; before != slot;) {
            before = slot;
            slot = lower(slot);
        }
        return true;
    });
    return tree;
}

} // namespace

NODE* unsimplify_tree(NODE* tree) { return lower_tree(copy_shared_values(tree)); }

void unsimplify() {
    for_each_statement(currfuninfo, [](LIST* cell) { cell->first = copy_shared_values(cell->first); });
    for_each_statement(currfuninfo, [](LIST* cell) { cell->first = lower_tree(cell->first); });
}
