// What divides a tree's value.
//
// All answers are about the value as the node holds it. Wrap-around adds a multiple of 2^width, so of a result that may
// have wrapped only the powers of two in its factors are sure.
#include "simp/fold.h"
#include "simp/givens.h"
#include "simp/ranges.h"
#include "simp/value_walk.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace {

constexpr int max_factor_depth = 8; // rounds of taking sums and products apart
constexpr int max_factor_nodes = 64;

// Factors are at most 2^62, so that sums and tests on them never overflow; 0 stands for a value that is always 0.
constexpr uint64_t max_factor = uint64_t{1} << 62;

uint64_t magnitude(INT65 v) { return (v.is_negative() ? -v : v).bits64(); }
uint64_t power_of_2_in(uint64_t v) { return v & (~v + 1); }

uint64_t gcd(uint64_t a, uint64_t b) {
    while (b != 0) {
        uint64_t r = a % b;
        a = b;
        b = r;
    }
    return a;
}

uint64_t limited(uint64_t f) { return f <= max_factor ? f : std::min(power_of_2_in(f), max_factor); }

uint64_t product(uint64_t a, uint64_t b) {
    uint64_t p;
    if (!__builtin_mul_overflow(a, b, &p)) return limited(p);
    int twos = std::countr_zero(a) + std::countr_zero(b);
    return uint64_t{1} << std::min(twos, 62);
}

uint64_t common_multiple(uint64_t a, uint64_t b) {
    if (a == 0 || b == 0) return 0;
    uint64_t m;
    if (__builtin_mul_overflow(a / gcd(a, b), b, &m) || m > max_factor) return std::max(a, b);
    return m;
}

// What is left of a factor when the value may have been cut to the width of the type.
uint64_t cut(uint64_t f, TYPE* type) {
    uint64_t two = power_of_2_in(f);
    uint64_t top = uint64_t{1} << (std::min(type->size(), 63u) - 1);
    return f == 0 ? 0 : std::min(two, top);
}

class FACTOR_WALK {
  public:
    explicit FACTOR_WALK(LOOP_RECORD* loop) : loop_(loop) {}

    uint64_t factor(NODE* tree, int depth) {
        if (!is_integer_like(tree->type)) return 1;
        if (depth > max_factor_depth || --nodes_left_ < 0) return 1;
        uint64_t f = structural(tree, depth);
        if (!has_givens(loop_)) return f;
        return common_multiple(f, magnitude(max_asserted_ICON_factor(tree, loop_)));
    }

    // The factor of a sum taken apart into constants times terms, where terms that are alike, and constants, have
    // joined: (x + 1) * 6 + (x + 5) * 2 is 8 * x + 16. 1 if nothing joins: then the structure gives as much.
    uint64_t expanded(NODE* sum) {
        terms_.clear();
        constant_ = 0, constants_ = 0, joined_ = false, exact_ = true;
        if (!expand(sum, 1, sum->type, 0) || !(joined_ || constants_ > 1)) return 1;
        WIDE constant = constant_ < 0 ? -constant_ : constant_;
        uint64_t f = limited(static_cast<uint64_t>(constant));
        for (const TERM& term : terms_) {
            WIDE coef = term.coef < 0 ? -term.coef : term.coef;
            if (coef != 0) f = gcd(f, product(limited(static_cast<uint64_t>(coef)), operand(term.tree, sum->type, 0)));
        }
        return exact_ ? f : cut(f, sum->type);
    }

  private:
    using WIDE = INT65::wide;
    struct TERM {
        NODE* tree;
        WIDE coef;
    };
    static constexpr size_t max_terms = 8;
    static constexpr WIDE max_coef = WIDE{1} << 62;

    static bool add(WIDE& to, WIDE v) {
        to += v;
        return to <= max_coef && to >= -max_coef;
    }

    // Adds coef * tree to the terms. False if that grows too large or too deep.
    bool expand(NODE* tree, WIDE coef, TYPE* type, int depth) {
        if (--nodes_left_ < 0) return false;
        if (tree->op == ICON) {
            WIDE v = truncate_to_type(truncate_to_type(tree->u.lval, tree->type), type).to_wide(), p;
            constants_++;
            return !__builtin_mul_overflow(v, coef, &p) && p <= max_coef && p >= -max_coef && add(constant_, p);
        }
        bool shift = tree->op == SLL;
        bool scaled = (tree->op == MULT || shift) && tree->right->op == ICON;
        bool linear = scaled || tree->op == PLUS || tree->op == MINUS || tree->op == UMINUS;
        if (!linear || depth >= max_factor_depth || !equiv_mtypes(tree->type, type)) return add_term(tree, coef);
        if (!equiv_mtypes(tree->left->type, type) && tree->left->op != ICON && scaled) return add_term(tree, coef);
        if (scaled) {
            INT65 c = truncate_to_type(tree->right->u.lval, shift ? tree->right->type : type);
            if (shift) {
                if (c.is_negative() || c >= INT65(std::min(type->size(), 62u))) return add_term(tree, coef);
                c = INT65(1) << c.low;
            }
            WIDE p;
            if (__builtin_mul_overflow(c.to_wide(), coef, &p) || p > max_coef || p < -max_coef) return false;
            if (exact_)
                exact_ = shift ? !expr_product_may_overflow(tree, loop_) : result_is_exact(tree, loop_, nullptr);
            return expand(tree->left, p, type, depth + 1);
        }
        if (exact_) exact_ = result_is_exact(tree, loop_, nullptr);
        if (tree->op == UMINUS) return expand(tree->left, -coef, type, depth + 1);
        return expand(tree->left, coef, type, depth + 1) &&
               expand(tree->right, tree->op == PLUS ? coef : -coef, type, depth + 1);
    }

    bool add_term(NODE* tree, WIDE coef) {
        for (TERM& term : terms_)
            if (trees_are_congruent(term.tree, tree)) {
                joined_ = true;
                return add(term.coef, coef);
            }
        if (terms_.size() == max_terms) return false;
        terms_.push_back({tree, coef});
        return true;
    }

    // Of an operand as the node sees it.
    uint64_t operand(NODE* tree, TYPE* type, int depth) {
        if (tree == nullptr || !is_integer_like(tree->type)) return 1;
        uint64_t f = factor(tree, depth + 1);
        if (f <= 1 || type->is_bool()) return f == 0 ? 0 : 1;
        bool kept = int_type_min(tree->type) >= int_type_min(type) && int_type_max(tree->type) <= int_type_max(type);
        return kept || value_fits_in_type(tree, type, loop_) ? f : cut(f, type);
    }

    uint64_t exact_or_cut(NODE* tree, uint64_t f) {
        if (f <= 1 || std::has_single_bit(f)) return cut(f, tree->type);
        return result_is_exact(tree, loop_, nullptr) ? f : cut(f, tree->type);
    }

    uint64_t structural(NODE* tree, int depth) {
        TYPE* type = tree->type;
        NODE* a = tree->left;
        NODE* b = tree->right;
        switch (tree->op) {
        case ICON: return limited(magnitude(truncate_to_type(tree->u.lval, type)));
        case MULT: return exact_or_cut(tree, product(operand(a, type, depth), operand(b, type, depth)));
        case PLUS:
        case MINUS: {
            uint64_t f = operand(a, type, depth);
            return f == 1 ? 1 : exact_or_cut(tree, gcd(f, operand(b, type, depth)));
        }
        case UMINUS: return exact_or_cut(tree, operand(a, type, depth));
        case MOD: { // what divides both divides the remainder
            uint64_t f = operand(a, type, depth);
            return f == 1 ? 1 : gcd(f, operand(b, type, depth));
        }
        case SLL: {
            if (b->op != ICON || b->u.lval.is_negative()) return 1;
            if (b->u.lval >= INT65(type->size())) return 0;
            uint64_t f = product(operand(a, type, depth), uint64_t{1} << std::min(b->u.lval.low, 62u));
            return std::has_single_bit(f) || expr_product_may_overflow(tree, loop_) ? cut(f, type) : f;
        }
        case ANDB:
        case ORB:
        case XORB: {
            uint64_t bits = find_known_zeros(tree, type).bits64();
            return bits == 0 ? 0 : cut(bits, type);
        }
        case QUEST:
            if (b == nullptr || b->op != COLON || b->left == nullptr || b->right == nullptr) return 1;
            return gcd(operand(b->left, type, depth), operand(b->right, type, depth));
        case COMMAOP: return operand(b, type, depth);
        default: return gives_left_operand(tree->op) ? operand(a, type, depth) : 1;
        }
    }

    LOOP_RECORD* loop_;
    int nodes_left_ = max_factor_nodes;
    std::vector<TERM> terms_; // of expanded()
    WIDE constant_ = 0;
    int constants_ = 0;
    bool joined_ = false, exact_ = true;
};

// A sum under which there is another one, so that taking it apart may join terms.
bool has_inner_sum(const NODE* tree) {
    auto is_sum = [](const NODE* n) { return n->op == PLUS || n->op == MINUS; };
    if (!is_sum(tree)) return false;
    for (const NODE* n : {tree->left, tree->right}) {
        for (int depth = 0; depth < max_factor_depth && (n->op == MULT || n->op == SLL || n->op == UMINUS); depth++)
            n = n->left;
        if (is_sum(n)) return true;
    }
    return false;
}

INT65 as_constant(uint64_t f) { return INT65(static_cast<unsigned long long>(f)); }

// `tree % C == 0` and `tree == C`
uint64_t factor_given(const NODE* tree, const NODE* given) {
    if (given->op != EQ || given->right->op != ICON) return 1;
    const NODE* subject = given->left;
    if (subject->op == MOD && given->right->u.lval.is_zero() && subject->right->op == ICON &&
        equiv_mtypes(subject->type, subject->left->type) && trees_are_congruent(subject->left, tree))
        return limited(magnitude(subject->right->u.lval));
    if (subject->op == tree->op && equiv_mtypes(subject->type, given->right->type) &&
        trees_are_congruent(subject, tree))
        return limited(magnitude(given->right->u.lval));
    return 1;
}

// The remainder in [0, modulus), -1 if it is not known.
INT65 residue(NODE* tree, INT65 modulus, LOOP_RECORD* loop, int depth) {
    auto reduced = [&](INT65::wide v) { // a sum may exceed 65 bits
        INT65::wide m = modulus.to_wide(), r = v % m;
        return INT65::from_wide(r < 0 ? r + m : r);
    };
    if (!is_integer_like(tree->type)) return INT65(-1);
    if (tree->op == ICON) return reduced(truncate_to_type(tree->u.lval, tree->type).to_wide());
    bool binary = std::has_single_bit(modulus.bits64()) && modulus <= type_mask(tree->type);
    if (binary) {
        INT65 low = modulus - INT65(1);
        INT65 ones = find_known_ones(tree, tree->type) & low;
        if (ones == (find_known_zeros(tree, tree->type) & low)) return ones;
    }
    bool offset = (tree->op == PLUS || tree->op == MINUS) && tree->right->op == ICON &&
                  equiv_mtypes(tree->left->type, tree->type);
    if (offset && depth < max_factor_depth && (binary || result_is_exact(tree, loop, nullptr))) {
        INT65 r = residue(tree->left, modulus, loop, depth + 1);
        if (r.is_negative()) return r;
        // Of a wrapped result the constant counts as the type has it; modulo a power of two that is the same.
        INT65 c = truncate_to_type(tree->right->u.lval, tree->type);
        return reduced(tree->op == PLUS ? r.to_wide() + c.to_wide() : r.to_wide() - c.to_wide());
    }
    INT65 f = max_ICON_factor(tree, loop);
    return f.is_zero() || (f % modulus).is_zero() ? INT65(0) : INT65(-1);
}

} // namespace

INT65 max_asserted_ICON_factor(NODE* tree, LOOP_RECORD* loop, CONTEXT*) {
    uint64_t f = 1;
    if (is_integer_like(tree->type))
        for_each_given(loop, [&](const NODE* given) { f = common_multiple(f, factor_given(tree, given)); });
    return as_constant(f);
}

INT65 max_ICON_factor(NODE* tree, LOOP_RECORD* loop, CONTEXT*, int) {
    if (!is_integer_like(tree->type)) return INT65(1);
    uint64_t f = FACTOR_WALK(loop).factor(tree, 0);
    if (f == 0 || tree->left == nullptr) return as_constant(f);
    if (has_inner_sum(tree)) f = common_multiple(f, FACTOR_WALK(loop).expanded(tree));
    uint64_t bits = find_known_zeros(tree, tree->type).bits64();
    return as_constant(common_multiple(f, bits == 0 ? 0 : cut(bits, tree->type)));
}

INT65 max_ICON_coef(NODE* tree) {
    INT65 coef(1);
    auto times = [&](INT65 c) { return c.is_zero() ? INT65(1) : coef * c; };
    // -(x * C) is linear, too
    for (int depth = 0; depth < max_factor_depth && is_integer_like(tree->type); depth++) {
        if (tree->op == UMINUS) {
            coef = -coef;
            tree = tree->left;
            continue;
        }
        if (tree->op == ICON) return times(tree->u.lval);
        if (tree->op == MULT && tree->right->op == ICON) return times(tree->right->u.lval);
        if (tree->op == SLL && tree->right->op == ICON && tree->right->u.lval >= INT65(0) &&
            tree->right->u.lval < INT65(tree->type->size() - 1))
            return times(INT65(1) << tree->right->u.lval.low);
        return INT65(1);
    }
    return INT65(1);
}

NODE* div_ICON_coef(NODE* tree, INT65 divisor) {
    if (divisor == INT65(1)) return tree;
    if (tree->op == UMINUS) {
        NODE* inner = tree->left;
        erase_node(tree);
        return div_ICON_coef(inner, -divisor);
    }
    if (tree->op == ICON) {
        tree->u.lval = truncate_to_type(tree->u.lval / divisor, tree->type);
        return tree;
    }
    INT65 coef = tree->op == SLL ? INT65(1) << tree->right->u.lval.low : tree->right->u.lval;
    TYPE* type = tree->type;
    erase_tree(tree->right);
    return simp_node(remake(tree, MULT, tree->left, mk_ICON(coef / divisor, type), type));
}

INT65 max_ICON_delta(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->op == ICON) return tree->u.lval;
    if ((tree->op != PLUS && tree->op != MINUS) || tree->right->op != ICON) return INT65();
    return tree->op == PLUS ? tree->right->u.lval : -tree->right->u.lval;
}

bool constant_divides_expr(INT65 c, TYPE*, NODE* tree, LOOP_RECORD* loop) {
    if (c.is_zero() || !is_integer_like(tree->type)) return false;
    if (c.is_negative()) c = -c;
    return residue(tree, c, loop, 0).is_zero();
}

bool expr_cannot_divide_expr(NODE* divisor, NODE* tree, LOOP_RECORD* loop) {
    if (!is_integer_like(divisor->type) || !is_integer_like(tree->type)) return false;
    // What divides the divisor would divide the tree.
    INT65 f = max_ICON_factor(divisor, loop);
    if (f > INT65(1) && residue(tree, f, loop, 0) > INT65(0)) return true;
    bool even = (find_known_zeros(divisor, divisor->type) & INT65(1)).is_zero();
    if (even && !(find_known_ones(tree, tree->type) & INT65(1)).is_zero()) return true;
    // A smaller number that is not zero.
    VALUE_RANGE d = calculate_range_for_tree(divisor, loop), t = calculate_range_for_tree(tree, loop);
    INT65 least = d.low > INT65(0) ? d.low : -d.high; // not positive if the divisor may be zero
    return t.high < least && -t.low < least && tree_is_non_zero(tree, loop);
}

int expr_modulo_constant(NODE* tree, TYPE*, INT65 modulus, LOOP_RECORD* loop) {
    if (modulus <= INT65(0) || !modulus.fits_s32()) return -1;
    return static_cast<int>(residue(tree, modulus, loop, 0).to_i64());
}

bool integer_DIV_is_exact(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != DIV || tree->right->op != ICON || !is_integer_like(tree->type)) return false;
    if (!is_integer_like(tree->left->type) || tree->right->u.lval.is_zero()) return false;
    if (!value_fits_in_type(tree->left, tree->type, loop, context)) return false;
    return constant_divides_expr(truncate_to_type(tree->right->u.lval, tree->type), tree->type, tree->left, loop);
}
