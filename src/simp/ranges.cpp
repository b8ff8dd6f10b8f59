// How large the value of a tree can be, and whether its arithmetic is exact.
//
// One walk gives both bounds. It computes with unbounded integers and brings every result to the width of its node: an
// interval that the width cuts somewhere inside stands for all values of the type. Every bound is one of the value as
// the node holds it, after wrap-around.
#include "simp/ranges.h"
#include "simp/givens.h"
#include "simp/simp_int.h"
#include "simp/value_walk.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

#include <algorithm>

namespace {

using WIDE = INT65::wide;

constexpr int max_range_depth = 10;  // levels of one walk; what stands below counts as any value of its type
constexpr int max_range_nodes = 100; // nodes of one walk, so that a bushy tree costs no more than a deep one

// An interval of unbounded integers. Operands are at most 64 bits wide, so sums always fit 128 bits; products are
// checked.
struct SPAN {
    WIDE low, high;
};

SPAN span_of(VALUE_RANGE r) { return {r.low.to_wide(), r.high.to_wide()}; }
VALUE_RANGE range_of(SPAN s) { return {INT65::from_wide(s.low), INT65::from_wide(s.high)}; }

SPAN limits_of(TYPE* type) { return {int_type_min(type).to_wide(), int_type_max(type).to_wide()}; }

// What a computed value can be: as the limits, but arithmetic in a bool's type is not cut to 0 and 1.
SPAN computed_limits(TYPE* type) { return type->is_bool() ? SPAN{0, type_mask(type).to_wide()} : limits_of(type); }

bool within(SPAN s, SPAN limits) { return s.low >= limits.low && s.high <= limits.high; }

// The values of the interval modulo 2^width.
SPAN wrapped(SPAN s, TYPE* type) {
    SPAN limits = computed_limits(type);
    if (within(s, limits)) return s;
    unsigned width = type->size();
    if (width > 64 || s.high - s.low >= (static_cast<WIDE>(1) << width)) return limits;
    auto cut = [&](WIDE v) { return truncate_to_type(INT65(static_cast<unsigned long long>(v)), type).to_wide(); };
    SPAN r{cut(s.low), cut(s.high)};
    return r.low <= r.high ? r : limits;
}

// A conversion: to bool it is a test for zero, to other types a cut.
SPAN converted(SPAN s, TYPE* type) {
    if (!type->is_bool()) return wrapped(s, type);
    return within(s, {0, 1}) ? s : SPAN{0, 1};
}

// The result of a node that may carry the promise that it does not overflow.
SPAN result_of(const NODE* node, SPAN exact) {
    TYPE* type = node->type;
    SPAN limits = computed_limits(type);
    if ((node->flags & NODE_NO_WRAP) != 0 && type->is_signed()) {
        SPAN clamped{std::max(exact.low, limits.low), std::min(exact.high, limits.high)};
        return clamped.low <= clamped.high ? clamped : limits;
    }
    return wrapped(exact, type);
}

WIDE smear(WIDE v) { // all bits below the highest one set; v >= 0
    for (int shift = 1; shift < 128; shift *= 2) v |= v >> shift;
    return v;
}
WIDE magnitude(WIDE v) { return v < 0 ? -v : v; }

// ------------------------------------------------------------------------------------------------- plain operators

// False if a product exceeds 128 bits.
bool products(SPAN a, SPAN b, SPAN& result) {
    bool first = true;
    for (WIDE x : {a.low, a.high})
        for (WIDE y : {b.low, b.high}) {
            WIDE p;
            if (__builtin_mul_overflow(x, y, &p)) return false;
            result = first ? SPAN{p, p} : SPAN{std::min(result.low, p), std::max(result.high, p)};
            first = false;
        }
    return true;
}

// Division rounds toward zero, so for one sign of the divisor it is monotone in the dividend. A divisor of 0 gives no
// value at all.
SPAN quotients(SPAN a, SPAN b) {
    if (b.low == 0) b.low = 1;
    if (b.high == 0) b.high = -1;
    if (b.low > b.high) return {0, 0}; // always a division by zero
    if (b.low > 0 || b.high < 0) {
        WIDE q[4] = {a.low / b.low, a.low / b.high, a.high / b.low, a.high / b.high};
        return {*std::min_element(q, q + 4), *std::max_element(q, q + 4)};
    }
    WIDE m = std::max(magnitude(a.low), magnitude(a.high));
    return {-m, m};
}

// The remainder has the sign of the dividend, and is smaller than the divisor and not larger than the dividend.
SPAN remainders(SPAN a, SPAN b) {
    WIDE largest = std::max(magnitude(b.low), magnitude(b.high)) - 1;
    if (largest < 0) return {std::min<WIDE>(a.low, 0), std::max<WIDE>(a.high, 0)};
    WIDE smallest_divisor = b.low > 0 ? b.low : b.high < 0 ? -b.high : 0;
    if (a.low > -smallest_divisor && a.high < smallest_divisor) return a;
    return {a.low >= 0 ? 0 : std::max(a.low, -largest), a.high <= 0 ? 0 : std::min(a.high, largest)};
}

SPAN and_bits(SPAN a, SPAN b) {
    SPAN r;
    if (a.low >= 0 || b.low >= 0) {
        r.low = 0;
        r.high = a.low < 0 ? b.high : b.low < 0 ? a.high : std::min(a.high, b.high);
        return r;
    }
    r.low = ~smear(~std::min(a.low, b.low));
    r.high = a.high < 0 && b.high < 0 ? std::min(a.high, b.high) : std::max(a.high, b.high);
    return r;
}

SPAN or_bits(SPAN a, SPAN b) {
    SPAN r;
    r.low = a.low >= 0 && b.low >= 0 ? std::max(a.low, b.low) : std::min(a.low, b.low);
    // x | y is not below x for a negative x.
    if (a.high < 0) r.low = std::max(r.low, a.low);
    if (b.high < 0) r.low = std::max(r.low, b.low);
    bool negative = a.high < 0 || b.high < 0;
    r.high = negative ? -1 : smear(a.high | b.high);
    return r;
}

SPAN xor_bits(SPAN a, SPAN b) {
    WIDE top = 0; // bits in which a value can differ from its sign
    for (WIDE v : {a.low, a.high, b.low, b.high}) top |= v < 0 ? ~v : v;
    top = smear(top);
    return {a.low >= 0 && b.low >= 0 ? 0 : ~top, top};
}

// A count at or above the width gives 0; so does a negative one.
SPAN left_shifts(SPAN a, SPAN count, TYPE* type) {
    WIDE width = type->size();
    if (count.low == count.high && (count.low < 0 || count.low >= width)) return {0, 0};
    if (count.low < 0 || count.high >= width) return computed_limits(type);
    WIDE low_factor = static_cast<WIDE>(1) << static_cast<int>(count.low);
    WIDE high_factor = static_cast<WIDE>(1) << static_cast<int>(count.high);
    SPAN r;
    return products(a, {low_factor, high_factor}, r) ? r : computed_limits(type);
}

// Values of the operand's own signedness: a shift is the rounded-down quotient. A count at or above the width, or
// below 0, leaves the sign.
SPAN right_shifts(SPAN a, SPAN count) {
    int least = count.low < 0 ? 0 : static_cast<int>(std::min<WIDE>(count.low, 64));
    int most = count.low < 0 ? 64 : static_cast<int>(std::min<WIDE>(count.high, 64));
    if (count.high < 0) least = 64;
    return {std::min(a.low >> least, a.low >> most), std::max(a.high >> least, a.high >> most)};
}

SPAN hull(SPAN a, SPAN b) { return {std::min(a.low, b.low), std::max(a.high, b.high)}; }

// No symbol's widened range is trusted: nothing keeps it up to date behind changes of the program.
bool wst_trustable(const SYMTAB*) { return false; }

// ----------------------------------------------------------------------------------------------------------- givens

// Narrows the bounds of the tree by `tree op K`. The relation is one of the combined type: it speaks of the tree's own
// value if that type holds all values of the tree's.
void narrow_by_given(SPAN& s, const NODE* tree, const NODE* given) {
    if (boolean_inv[given->op & 255] == ILLOP || given->right->op != ICON) return;
    NODE* subject = given->left;
    if (subject->op != tree->op || !is_integer_like(subject->type)) return;
    TYPE* common = combined_type(subject, given->right);
    bool unsigned_test = given->op >= ULE && given->op <= UGT;
    if (!is_integer_like(common) || !within(limits_of(tree->type), limits_of(common))) return;
    if (unsigned_test && common->is_signed()) return;
    if (!trees_are_congruent(subject, tree)) return;
    WIDE k = truncate_to_type(given->right->u.lval, common).to_wide();
    SPAN t = s;
    switch (given->op) {
    case EQ: t = {std::max(t.low, k), std::min(t.high, k)}; break;
    case NEQ:
        if (t.low == k) t.low++;
        if (t.high == k) t.high--;
        break;
    case LE:
    case ULE: t.high = std::min(t.high, k); break;
    case LT:
    case ULT: t.high = std::min(t.high, k - 1); break;
    case GE:
    case UGE: t.low = std::max(t.low, k); break;
    default: t.low = std::max(t.low, k + 1); break;
    }
    if (t.low <= t.high) s = t; // else the place is never reached
}

// ------------------------------------------------------------------------------------------------------------- walk

class RANGE_WALK {
  public:
    explicit RANGE_WALK(LOOP_RECORD* loop) : loop_(loop), has_givens_(has_givens(loop)) {}

    // The values of the tree, in its own type.
    SPAN values(NODE* tree, int depth) {
        TYPE* type = tree->type;
        if (!is_integer_like(type)) return limits_of(type);
        if (depth > max_range_depth || --nodes_left_ < 0) return computed_limits(type);
        SPAN s = structural(tree, depth);
        if (has_givens_) for_each_given(loop_, [&](NODE* given) { narrow_by_given(s, tree, given); });
        return s;
    }
    // The values of an operand, converted to a type.
    SPAN operand(NODE* tree, TYPE* type, int depth) {
        if (tree == nullptr || !(is_integer_like(tree->type) || tree->type->is_ptr())) return computed_limits(type);
        return converted(values(tree, depth + 1), type);
    }
    // The exact result of PLUS, MINUS, MULT or UMINUS of the converted operands; false if it is not known.
    bool exact_result(NODE* tree, int depth, SPAN& s) {
        TYPE* type = tree->type;
        SPAN a = operand(tree->left, type, depth);
        if (tree->op == UMINUS) {
            s = {-a.high, -a.low};
            return true;
        }
        SPAN b = operand(tree->right, type, depth);
        return exact_operation(tree->op, a, b, s);
    }

  private:
    static bool exact_operation(int op, SPAN a, SPAN b, SPAN& s) {
        switch (op) {
        case PLUS: s = {a.low + b.low, a.high + b.high}; return true;
        case MINUS: s = {a.low - b.high, a.high - b.low}; return true;
        default: return products(a, b, s);
        }
    }

    // Any operator but those of exact_result, on converted operands.
    static SPAN operation(int op, SPAN a, SPAN b, TYPE* type) {
        SPAN s;
        switch (op) {
        case PLUS:
        case MINUS:
        case MULT: return exact_operation(op, a, b, s) ? wrapped(s, type) : computed_limits(type);
        case DIV: return wrapped(quotients(a, b), type);
        case MOD: return wrapped(remainders(a, b), type);
        case ANDB: return wrapped(and_bits(a, b), type);
        case ORB: return wrapped(or_bits(a, b), type);
        case XORB: return wrapped(xor_bits(a, b), type);
        case SLL: return wrapped(left_shifts(a, b, type), type);
        case SRL: return wrapped(right_shifts(a, b), type);
        default: return computed_limits(type);
        }
    }

    // What a read of the lvalue can give.
    static SPAN stored_limits(const NODE* lvalue) {
        SPAN limits = limits_of(lvalue->type);
        if (lvalue->op != STDOT && lvalue->op != STREF) return limits;
        const fkMDATA* member = lvalue->right->mval;
        if (member == nullptr || !member->is_bitfield || member->bit_size == 0 || member->bit_size > 64) return limits;
        if (member->type->is_signed() != lvalue->type->is_signed()) return limits;
        SPAN field{0, (static_cast<WIDE>(1) << member->bit_size) - 1};
        if (member->type->is_signed()) field = {-(field.high + 1) / 2, field.high / 2};
        return within(field, limits) ? field : limits;
    }

    static SPAN name_values(const NODE* name) {
        const SYMTAB* sym = name->u.sym;
        if (sym != nullptr && wst_trustable(sym) && compatible_types(name->type, sym->type, false))
            if (const SYM_RANGE* entry = find_widened_symbol_entry(sym)) return span_of({entry->min, entry->max});
        return limits_of(name->type);
    }

    // l = v gives what l then holds.
    SPAN assignment(NODE* tree, int depth) {
        NODE* target = tree->left;
        if (!is_integer_like(target->type)) return computed_limits(tree->type);
        SPAN s;
        if (tree->op == ASG) {
            s = operand(tree->right, target->type, depth);
        } else {
            ASSIGNED_OPERATION computed(tree);
            TYPE* type = computed.type;
            if (!is_integer_like(type)) return converted(stored_limits(target), tree->type);
            SPAN by = operand(tree->right, computed.shift ? tree->right->type : type, depth);
            s = converted(operation(computed.op, converted(stored_limits(target), type), by, type), target->type);
        }
        SPAN limits = stored_limits(target);
        return converted(within(s, limits) ? s : limits, tree->type);
    }

    SPAN structural(NODE* tree, int depth) {
        TYPE* type = tree->type;
        if (boolean_result[tree->op & 255]) return {0, 1};
        switch (tree->op) {
        case ICON: {
            WIDE v = truncate_to_type(tree->u.lval, type).to_wide();
            return {v, v};
        }
        case NAME: return name_values(tree);
        case STDOT:
        case STREF: return stored_limits(tree);
        case UMULT: return limits_of(type);
        case PLUS:
        case MINUS:
        case UMINUS:
        case MULT: {
            SPAN s;
            return exact_result(tree, depth, s) ? result_of(tree, s) : computed_limits(type);
        }
        case DIV:
        case MOD:
        case ANDB:
        case ORB:
        case XORB:
            return operation(tree->op, operand(tree->left, type, depth), operand(tree->right, type, depth), type);
        case SLL:
        case SRL: {
            SPAN a = operand(tree->left, type, depth);
            return operation(tree->op, a, operand(tree->right, tree->right->type, depth), type);
        }
        case NOTB: {
            SPAN a = operand(tree->left, type, depth);
            return wrapped({~a.high, ~a.low}, type);
        }
        case ABS: {
            SPAN a = operand(tree->left, type, depth);
            if (a.low >= 0) return a;
            WIDE least = a.high < 0 ? -a.high : 0;
            return wrapped({least, std::max(-a.low, a.high)}, type);
        }
        case QUEST: {
            NODE* arms = tree->right;
            if (arms == nullptr || arms->op != COLON || arms->left == nullptr || arms->right == nullptr)
                return computed_limits(type);
            return hull(operand(arms->left, type, depth), operand(arms->right, type, depth));
        }
        case COMMAOP: return operand(tree->right, type, depth);
        case PLUSPLUS:
        case MINMIN: // the value before the step
            if (!is_integer_like(tree->left->type)) return computed_limits(type);
            return converted(stored_limits(tree->left), type);
        default:
            if (gives_left_operand(tree->op)) return operand(tree->left, type, depth);
            if (tree->op == ASG || (op_of_opASG[tree->op & 255] != ILLOP && tree->left != nullptr))
                return assignment(tree, depth);
            return computed_limits(type);
        }
    }

    LOOP_RECORD* loop_;
    bool has_givens_;
    int nodes_left_ = max_range_nodes;
};

bool is_exact_operator(int op) { return op == PLUS || op == MINUS || op == MULT || op == UMINUS; }

bool promises_no_wrap(const NODE* node) { return (node->flags & NODE_NO_WRAP) != 0 && node->type->is_signed(); }

constexpr int max_product_depth = 9; // levels of a product; a deeper one may overflow

bool product_is_too_deep(const NODE* tree) {
    int levels = 0;
    for (; tree != nullptr && tree->op == MULT; tree = tree->left)
        if (++levels > max_product_depth) return true;
    return false;
}

} // namespace

// ----------------------------------------------------------------------------------------------------------- queries

VALUE_RANGE calculate_range_for_tree(NODE* tree, LOOP_RECORD* loop, CONTEXT*) {
    RANGE_WALK walk(loop);
    SPAN s = walk.values(tree, 0);
    if (tree->op == ANDB && tree->right->op == ICON && is_integer_like(tree->type)) {
        // With a clear sign bit, the bits that can be set bound the value.
        WIDE bits = find_known_zeros(tree, tree->type).to_wide();
        if (bits <= limits_of(tree->type).high) s = {std::max<WIDE>(s.low, 0), std::min(s.high, bits)};
    }
    return range_of(s);
}

INT65 calculate_maxval_for_tree(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return calculate_range_for_tree(tree, loop, context).high;
}

INT65 calculate_minval_for_tree(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return calculate_range_for_tree(tree, loop, context).low;
}

bool value_fits_in_type(NODE* tree, TYPE* type, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_integer_like(tree->type) && !tree->type->is_ptr()) return false;
    if (!is_integer_like(type) && !type->is_ptr()) return false;
    VALUE_RANGE r = calculate_range_for_tree(tree, loop, context);
    return r.low >= int_type_min(type) && r.high <= int_type_max(type);
}

bool result_is_exact(NODE* node, LOOP_RECORD* loop, CONTEXT*) {
    if (!is_exact_operator(node->op) || !is_integer_like(node->type)) return false;
    if (promises_no_wrap(node)) return true;
    SPAN s;
    return RANGE_WALK(loop).exact_result(node, 0, s) && within(s, limits_of(node->type));
}

bool expr_product_may_overflow(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_integer_like(tree->type)) return true;
    if (tree->op == SLL) {
        if (tree->right->op != ICON) return true;
        INT65 count = tree->right->u.lval;
        if (count < INT65(0) || count >= INT65(tree->type->size())) return true;
        RANGE_WALK walk(loop);
        SPAN s, a = walk.operand(tree->left, tree->type, 0);
        WIDE factor = static_cast<WIDE>(1) << count.low;
        return !products(a, {factor, factor}, s) || !within(s, limits_of(tree->type));
    }
    if (tree->op != MULT || product_is_too_deep(tree)) return true;
    return !result_is_exact(tree, loop, context);
}

bool expr_sum_may_overflow(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return tree->op == MULT || !result_is_exact(tree, loop, context);
}

namespace {

constexpr int max_eval_depth = 8;
constexpr int max_eval_nodes = 64;

// The one variable that a tree reads; null if it reads none, several, or memory.
class ONE_VARIABLE {
  public:
    static const NODE* of(const NODE* tree) {
        ONE_VARIABLE walk;
        return tree_is_pure(tree, max_eval_nodes) && walk.visit(tree) ? walk.found_ : nullptr;
    }

  private:
    bool visit(const NODE* tree) { // the tree is small: it is pure
        switch (tree->op) {
        case UAND:
        case UMULT:
        case STDOT:
        case STREF: return false;
        case NAME:
            if (found_ != nullptr && (found_->u.sym != tree->u.sym || found_->type != tree->type)) return false;
            found_ = tree;
            return true;
        default: return (tree->left == nullptr || visit(tree->left)) && (tree->right == nullptr || visit(tree->right));
        }
    }

    const NODE* found_ = nullptr;
};

void replace_variable(NODE* tree, INT65 value) {
    if (tree->op == NAME) {
        become_ICON(tree, value, tree->type);
        return;
    }
    if (tree->left != nullptr) replace_variable(tree->left, value);
    if (tree->right != nullptr) replace_variable(tree->right, value);
}

// Puts bounds of variables in their place, in sums and in products and quotients with constants.
class EXTREMES {
  public:
    EXTREMES(LOOP_RECORD* loop, TYPE* root) : loop_(loop), root_(limits_of(root)) {}

    bool changed() const { return changes_ != 0; }

    // Moves the tree's value up or down, or leaves it. False if it may overflow afterwards.
    bool put(NODE* tree, bool up, int depth) {
        if (tree->op == NAME) {
            variable(tree, up);
            return true;
        }
        if (depth > max_eval_depth || --nodes_left_ < 0) return true;
        int before = changes_;
        TYPE* type = tree->type;
        for (const NODE* operand : {tree->left, tree->right})
            if (operand != nullptr &&
                (!is_integer_like(operand->type) || !within(limits_of(operand->type), limits_of(type))))
                return true;
        bool scaled = tree->right != nullptr && tree->right->op == ICON;
        bool grows = !scaled || tree->right->u.lval > INT65(0);
        switch (tree->op) {
        case PLUS:
        case MINUS:
        case UMINUS:
            if (!result_is_exact(tree, loop_, nullptr)) return true;
            if (!put(tree->left, tree->op == UMINUS ? !up : up, depth + 1)) return false;
            if (tree->op != UMINUS && !put(tree->right, tree->op == PLUS ? up : !up, depth + 1)) return false;
            return (changes_ == before || still_exact(tree));
        case MULT:
            if (!scaled || !result_is_exact(tree, loop_, nullptr)) return true;
            return put(tree->left, grows ? up : !up, depth + 1) && (changes_ == before || still_exact(tree));
        case DIV: // by a positive constant: rounding toward zero keeps the order
            return !scaled || !grows || put(tree->left, up, depth + 1);
        case SCONV: return put(tree->left, up, depth + 1);
        default: return true;
        }
    }

  private:
    void variable(NODE* name, bool up) {
        if (name->type->is_volatile() || !is_integer_like(name->type)) return;
        VALUE_RANGE r = calculate_range_for_tree(name, loop_);
        if (up ? r.high.to_wide() >= root_.high : r.low.to_wide() <= root_.low) return;
        become_ICON(name, up ? r.high : r.low, name->type);
        changes_++;
    }
    // The mark spoke of the old operands: that variable and the rest may not be independent.
    bool still_exact(NODE* tree) {
        tree->flags &= static_cast<uint8_t>(~NODE_NO_WRAP);
        return result_is_exact(tree, loop_, nullptr);
    }

    LOOP_RECORD* loop_;
    SPAN root_; // a bound of this type is none
    int changes_ = 0;
    int nodes_left_ = max_eval_nodes;
};

NODE* extreme(NODE* tree, LOOP_RECORD* loop, bool up) {
    if (!is_integer_like(tree->type) || !tree_is_pure(tree)) return tree;
    NODE* moved = copy_tree(tree);
    EXTREMES extremes(loop, tree->type);
    bool moves = extremes.put(moved, up, 0) && extremes.changed();
    erase_tree(moves ? tree : moved);
    return moves ? simp_tree(moved, loop) : tree;
}

} // namespace

NODE* simp_tree_in_range(NODE* tree, INT65 low, INT65 high, INT65 step) {
    const NODE* variable = low <= high ? ONE_VARIABLE::of(tree) : nullptr;
    if (variable == nullptr || !is_integer_like(variable->type) || currfuninfo == nullptr) return simp_tree(tree);
    if (low < int_type_min(variable->type) || high > int_type_max(variable->type)) return simp_tree(tree);
    if (step > INT65(0) && high - low < step) {
        replace_variable(tree, low);
        return simp_tree(tree);
    }
    // The bounds are facts like the function's own, as long as this takes.
    auto given = [&](int op, INT65 bound) {
        TYPE* type = promoted_type(variable->type);
        if (type->is_unsigned()) op += ULE - LE;
        NODE* test = maketree(op, copy_tree(variable), mk_ICON(bound, type), tp->int_type());
        currfuninfo->global_assertions = mkelist(test, currfuninfo->global_assertions, nullptr);
    };
    LIST* facts = currfuninfo->global_assertions;
    given(GE, low);
    given(LE, high);
    tree = simp_tree(tree);
    erase_tree_list_to_entry(currfuninfo->global_assertions, facts);
    currfuninfo->global_assertions = facts;
    return tree;
}

NODE* partially_eval_for_minimum(NODE* tree, LOOP_RECORD* loop, int) { return extreme(tree, loop, false); }
NODE* partially_eval_for_maximum(NODE* tree, LOOP_RECORD* loop, int) { return extreme(tree, loop, true); }
NODE* simp_constraint_given_loop_givens(NODE* tree, LOOP_RECORD*) { return tree; }
