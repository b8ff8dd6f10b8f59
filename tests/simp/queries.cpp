#include "queries.h"

#include "ir/opt_expr.h"
#include "simp/ranges.h"

#include <memory>

namespace {

using WIDE = __int128;

WIDE wide_of(DATUM value, KIND k) {
    return k == K_UL ? static_cast<WIDE>(static_cast<uint64_t>(value.i)) : static_cast<WIDE>(value.i);
}

// A defined value of the tree on each input.
struct RUN {
    const INPUT* input;
    DATUM value;
    WIDE v;
};
std::vector<RUN> runs_of(const NODE* tree, const std::vector<INPUT>& inputs) {
    std::vector<RUN> runs;
    CODE code(tree);
    for (const INPUT& input : inputs) {
        OUTCOME o;
        IMAGE memory = input.memory;
        code.run(memory, input.salt, true, o);
        if (o.undefined == nullptr) runs.push_back({&input, o.value, wide_of(o.value, code.kind())});
    }
    return runs;
}

class ANSWERS {
  public:
    ANSWERS(NODE* tree, RANDOM& random, WIDE some_value) : kind_(kind_of_type(tree->type)) {
        range_ = calculate_range_for_tree(tree);
        low_ = calculate_minval_for_tree(tree);
        high_ = calculate_maxval_for_tree(tree);
        factor_ = max_ICON_factor(tree);
        ones_ = find_known_ones(tree, tree->type);
        zeros_ = find_known_zeros(tree, tree->type);
        if (tree->op == ANDB) zeros_in_and_ = find_known_zeros_in_ANDB(tree, nullptr, nullptr);
        sign_ = sign_of_integer_expression(tree, nullptr, 0, nullptr);
        strict_sign_ = sign_of_integer_expression(tree, nullptr, 1, nullptr);
        zero_ = tree_is_zero(tree);
        non_zero_ = tree_is_non_zero(tree);
        positive_ = tree_is_positive(tree);
        negative_ = tree_is_negative(tree);
        non_negative_ = tree_is_non_negative(tree);
        power_ = positive_tree_is_power_of_2(tree);
        boolean_ = returns_1_or_0(tree);
        modulus_ = 2 + random.below(15);
        remainder_ = expr_modulo_constant(tree, tree->type, INT65(modulus_));
        divides_ = constant_divides_expr(INT65(modulus_), tree->type, tree);
        for (int k = K_H; k <= K_UL; k++) fits_[k] = value_fits_in_type(tree, world.type_of[k]);
        seen_ = some_value;
        is_value_ = tree_is_ivalue(tree, INT65::from_wide(some_value));
        is_not_value_ = tree_is_not_ivalue(tree, INT65::from_wide(some_value));
    }

    const char* contradicted(WIDE v) const {
        uint64_t mask = ~uint64_t{0} >> (64 - bits_of_kind(kind_));
        uint64_t bits = static_cast<uint64_t>(v) & mask;
        if (v < range_.low.to_wide() || v > range_.high.to_wide()) return "calculate_range_for_tree";
        if (v < low_.to_wide()) return "calculate_minval_for_tree";
        if (v > high_.to_wide()) return "calculate_maxval_for_tree";
        WIDE factor = factor_.to_wide();
        if (factor == 0 ? v != 0 : v % factor != 0) return "max_ICON_factor";
        if ((ones_.bits64() & mask & ~bits) != 0) return "find_known_ones";
        if ((bits & ~zeros_.bits64()) != 0) return "find_known_zeros";
        if ((bits & ~zeros_in_and_.bits64()) != 0) return "find_known_zeros_in_ANDB";
        if ((sign_ == -1 && v >= 0) || (sign_ == 0 && v != 0) || (sign_ == 1 && v < 0))
            return "sign_of_integer_expression, not strict";
        if ((strict_sign_ == -1 && v >= 0) || (strict_sign_ == 0 && v != 0) || (strict_sign_ == 1 && v <= 0))
            return "sign_of_integer_expression, strict";
        if (zero_ && v != 0) return "tree_is_zero";
        if (non_zero_ && v == 0) return "tree_is_non_zero";
        if (positive_ && v <= 0) return "tree_is_positive";
        if (negative_ && v >= 0) return "tree_is_negative";
        if (non_negative_ && v < 0) return "tree_is_non_negative";
        if (power_ && v > 0 && (v & (v - 1)) != 0) return "positive_tree_is_power_of_2";
        if (boolean_ && v != 0 && v != 1) return "returns_1_or_0";
        if (remainder_ >= 0 && ((v % modulus_) + modulus_) % modulus_ != remainder_) return "expr_modulo_constant";
        if (divides_ && v % modulus_ != 0) return "constant_divides_expr";
        for (int k = K_H; k <= K_UL; k++)
            if (fits_[k] &&
                (v < int_type_min(world.type_of[k]).to_wide() || v > int_type_max(world.type_of[k]).to_wide()))
                return "value_fits_in_type";
        if (is_value_ && v != seen_) return "tree_is_ivalue";
        if (is_not_value_ && v == seen_) return "tree_is_not_ivalue";
        return nullptr;
    }

  private:
    KIND kind_;
    VALUE_RANGE range_;
    INT65 low_, high_, factor_, ones_, zeros_, zeros_in_and_ = INT65(-1);
    int sign_, strict_sign_, remainder_, modulus_;
    bool zero_, non_zero_, positive_, negative_, non_negative_, power_, boolean_, divides_, fits_[K_UL + 1] = {};
    bool is_value_, is_not_value_;
    WIDE seen_;
};

// Whether the answers about the overflow of the root's operation claim that there is none.
const char* claims_exact(NODE* tree) {
    switch (tree->op) {
    case PLUS:
    case MINUS:
    case UMINUS:
        if (!expr_sum_may_overflow(tree)) return "expr_sum_may_overflow";
        break;
    case MULT:
        if (!expr_product_may_overflow(tree)) return "expr_product_may_overflow";
        break;
    default: return nullptr;
    }
    return result_is_exact(tree, nullptr, nullptr) ? "result_is_exact" : nullptr;
}

// The two operands of the root: how they differ.
const char* wrong_comparison(NODE* tree, const std::vector<INPUT>& inputs, const INPUT*& on) {
    NODE *a = tree->left, *b = tree->right;
    if (a == nullptr || b == nullptr || tree->op == COMMAOP || a->type == nullptr || b->type == nullptr) return nullptr;
    KIND k = kind_of_type(a->type);
    if (!is_int_kind(k) || kind_of_type(b->type) != k || k == K_B || tree_has_side_effects(tree)) return nullptr;
    std::vector<RUN> left = runs_of(a, inputs), right = runs_of(b, inputs);
    if (left.size() != inputs.size() || right.size() != inputs.size()) return nullptr;
    uint64_t mask = ~uint64_t{0} >> (64 - bits_of_kind(k));
    WIDE first = left[0].v - right[0].v;
    bool differ = tree_values_are_not_equal(a, b);
    bool difference = tree_difference_is_ivalue(a, b, INT65::from_wide(first));
    for (size_t i = 0; i < inputs.size(); i++) {
        on = &inputs[i];
        if (differ && left[i].v == right[i].v) return "tree_values_are_not_equal";
        if (difference && ((static_cast<uint64_t>(left[i].v - right[i].v) ^ static_cast<uint64_t>(first)) & mask) != 0)
            return "tree_difference_is_ivalue";
        if (tree->op == DIV && right[i].v != 0 && left[i].v % right[i].v != 0 && integer_DIV_is_exact(tree))
            return "integer_DIV_is_exact";
    }
    return nullptr;
}

} // namespace

const char* wrong_query(NODE* tree, const std::vector<INPUT>& inputs, uint64_t seed, const INPUT*& on, DATUM& value) {
    std::vector<RUN> runs = runs_of(tree, inputs);
    if (runs.empty()) return nullptr;
    RANDOM random(seed);
    ANSWERS answers(tree, random, runs[0].v);
    for (const RUN& run : runs) {
        on = run.input;
        value = run.value;
        if (const char* query = answers.contradicted(run.v)) return query;
    }
    if (is_signed_int(kind_of_type(tree->type)))
        if (const char* query = claims_exact(tree)) {
            NODE* marked = copy_tree(tree);
            marked->flags |= NODE_NO_WRAP;
            CODE code(marked);
            for (const RUN& run : runs) {
                OUTCOME o;
                IMAGE memory = run.input->memory;
                code.run(memory, run.input->salt, true, o);
                on = run.input;
                value = run.value;
                if (o.undefined != nullptr) return query;
            }
            erase_tree(marked);
        }
    return wrong_comparison(tree, inputs, on);
}
