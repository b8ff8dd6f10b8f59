// Two comparisons of the same operands under & or | are one comparison.
#include "simp/logic.h"

#include "ir/opt_expr.h"

#include <algorithm>

namespace {

// A relation as the set of the outcomes for which it holds.
enum OUTCOME { LESS = 1, EQUAL = 2, GREATER = 4 };
struct RELATION {
    int op, outcomes;
};
constexpr RELATION equality[] = {{EQ, EQUAL}, {NEQ, LESS | GREATER}};
constexpr RELATION orderings[2][4] = {{{LE, LESS | EQUAL}, {LT, LESS}, {GE, GREATER | EQUAL}, {GT, GREATER}},
                                      {{ULE, LESS | EQUAL}, {ULT, LESS}, {UGE, GREATER | EQUAL}, {UGT, GREATER}}};
constexpr int always_false = 0x10000, always_true = 0x10001;

int key_of(int a, int b) { return (std::min(a, b) << 8) | std::max(a, b); }

// Both sets hold EQ, NEQ and the orderings of one family: the signed or the unsigned one.
std::map<int, int> make_map(bool both) {
    std::map<int, int> map;
    for (const auto& family : orderings) {
        RELATION all[6];
        std::copy_n(equality, 2, all);
        std::copy_n(family, 4, all + 2);
        for (const RELATION& a : all)
            for (const RELATION& b : all) {
                if (a.op >= b.op) continue;
                int outcomes = both ? a.outcomes & b.outcomes : a.outcomes | b.outcomes;
                int result = outcomes == 0 ? always_false : always_true;
                for (const RELATION& r : all)
                    if (r.outcomes == outcomes) result = r.op;
                map[key_of(a.op, b.op)] = result;
            }
    }
    return map;
}

} // namespace

const std::map<int, int> andb_combo_map = make_map(true), ORB_combo_map = make_map(false);

// (x op y) & (x op' y) -> x op'' y, or a constant; the same for |
NODE* simp_redundant_test(NODE* tree, const std::map<int, int>& map) {
    NODE* a = tree->left;
    NODE* b = tree->right;
    if (!opcode_is_comparison(a->op) || !opcode_is_comparison(b->op) || !is_modular(tree->type)) return tree;
    auto entry = map.find(key_of(a->op, b->op));
    if (entry == map.end() || !same_term(a->left, b->left) || !same_term(a->right, b->right)) return tree;
    int op = entry->second;
    // A NaN is in no order to anything: an ordering or its opposite may both fail, and only != holds.
    bool floating = a->left->type->is_fltpt() || a->right->type->is_fltpt();
    if (floating && (op == NEQ || op == always_true) && a->op != NEQ && b->op != NEQ) return tree;
    TYPE* type = tree->type;
    LS* scope = tree->scope;
    NODE* result;
    if (op > 255) {
        erase_tree(tree);
        result = mk_ICON(op & 1, value_type(type));
    } else {
        a->op = op;
        erase_tree(b);
        erase_node(tree);
        result = coerce_to_type(simp_node(a), type);
    }
    if (result->scope == nullptr) result->scope = scope;
    return result;
}
