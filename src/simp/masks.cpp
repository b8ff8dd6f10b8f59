// Bit masks: which bits of a constant and of a subtree matter.
//
// A mask under an ANDB, or the constant of an ORB, leaves bits of a subtree without influence. prop_mask_into_subtree
// walks down from there and drops what only concerns such bits; regularize_mask_constant picks don't-care bits of
// constants so that they form few runs. Both change no bit that matters, and doing either twice changes nothing more.
#include "simp/fold.h"
#include "simp/logic.h"
#include "simp/ranges.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

#include <algorithm>

namespace {

// Operands of a bitwise operator under a mask are in work: constants are not sign-extended from their highest bit, as
// the operator's own rules look at them.
bool inside_logical_operator = false;

class SETTING {
  public:
    SETTING(bool& flag, bool value) : flag_(flag), saved_(flag) { flag = value; }
    ~SETTING() { flag_ = saved_; }
    SETTING(const SETTING&) = delete;
    SETTING& operator=(const SETTING&) = delete;

  private:
    bool& flag_;
    bool saved_;
};

constexpr int max_rounds = 8; // so often one mask's walk looks at a tree again that became simpler
int propagation_depth = 0;
constexpr int max_propagation_depth = 8; // levels of a tree below its mask; bounds the cost of one mask

// Tells apart what changed in one subtree from what changed before.
class CHANGES {
  public:
    explicit CHANGES(bool& changed) : changed_(changed), before_(changed) { changed = false; }
    ~CHANGES() { changed_ |= before_; }
    CHANGES(const CHANGES&) = delete;
    CHANGES& operator=(const CHANGES&) = delete;

  private:
    bool& changed_;
    bool before_;
};

class DEEPER {
  public:
    DEEPER() { propagation_depth++; }
    ~DEEPER() { propagation_depth--; }
};

INT65 low_bits(unsigned n) { return (INT65(1) << n) - INT65(1); }
unsigned highest_bit(uint64_t v) { return 63u - static_cast<unsigned>(__builtin_clzll(v)); }
unsigned trailing_zeros(INT65 v) { return v.is_zero() ? 64u : static_cast<unsigned>(__builtin_ctzll(v.bits64())); }
// All bits up to the highest one set: what sums, differences and products need of their operands.
INT65 smeared(INT65 mask) { return mask.is_zero() ? mask : low_bits(highest_bit(mask.bits64()) + 1); }

// The zero bits of the value are one field of a smaller type's width, at a multiple of it: the constant clears just
// that field, which the target does cheaply.
bool clears_one_field(uint64_t value, TYPE* type) {
    uint64_t zeros = ~value & type_mask(type).bits64();
    for (TYPE* field : {tp->char_type(), tp->int_type()}) {
        if (field->size() >= type->size()) break;
        for (uint64_t rest = zeros; rest != 0; rest >>= field->size())
            if (rest == type_mask(field).bits64()) return true;
    }
    return false;
}

} // namespace

INT65 regular_mask(INT65 value, INT65 care_bits, TYPE* type) {
    uint64_t whole = type_mask(type).bits64(), care = care_bits.bits64() & whole;
    uint64_t kept = value.bits64() & care;
    if (care == whole || kept == 0) return INT65(static_cast<unsigned long long>(kept));
    uint64_t v = kept;
    if (!inside_logical_operator) {
        uint64_t top = uint64_t{1} << highest_bit(care);
        v = ((v ^ top) - top) & whole;
    }
    if (clears_one_field(v, type)) return INT65(static_cast<unsigned long long>(kept));
    for (unsigned n = type->size() - 1; n-- > 0;) {
        uint64_t bit = uint64_t{1} << n;
        if ((care & bit) == 0) v = (v & ~bit) | ((v >> 1) & bit);
    }
    for (uint64_t bit = 2; (bit & whole) != 0; bit <<= 1)
        if ((care & bit) == 0) v |= (v << 1) & bit;
    return INT65(static_cast<unsigned long long>(v));
}

void regularize_mask_constant(NODE* icon, INT65 care) {
    INT65 value = icon->u.lval & type_mask(icon->type);
    icon->u.lval = truncate_to_type(regular_mask(value, care, icon->type), icon->type);
}

INT65 care_of_mask(NODE* left, TYPE* type) {
    INT65 care = possible_ones(left, type);
    if (returns_1_or_0(left)) care = care & INT65(1);
    if (left->op == MULT && left->right->op == ICON && is_modular(left->type) && left->type->size() == type->size()) {
        INT65 factor = bits_of(left->right, type);
        if (!factor.is_zero()) care = care & ~low_bits(trailing_zeros(factor));
    }
    return care;
}

namespace {

// One walk below one mask. `changed` tells whether any node is another one than before.
class PROPAGATION {
  public:
    PROPAGATION(bool below_or, LOOP_RECORD* loop, CONTEXT* context)
        : loop_(loop), context_(context), below_or_(below_or) {}

    // The tree that agrees with the given one in the bits of the mask, each extended without bound by its type's sign.
    // It has the same type, or one that makes no difference to those bits.
    NODE* run(NODE* tree, INT65 wanted);
    bool changed() const { return changed_; }

  private:
    bool prepare(NODE*& tree, INT65 wanted, INT65& mask);
    NODE* by_operator(NODE* tree, INT65 mask);
    NODE* sum(NODE* tree, INT65 mask);
    NODE* product(NODE* tree, INT65 mask);
    NODE* bitwise(NODE* tree, INT65 mask);
    NODE* right_shift(NODE* tree, INT65 mask);
    NODE* double_shift(NODE* tree, INT65 mask);
    NODE* low_bit(NODE* tree);
    NODE* narrowed(NODE* tree, INT65 mask);
    void into(NODE*& operand, INT65 mask) { operand = run(operand, mask); }
    void into_same_type(NODE*& operand, INT65 mask);
    bool reduce(NODE* icon, INT65 value, TYPE* type);
    NODE* change(NODE* tree) {
        changed_ = true;
        return tree;
    }

    LOOP_RECORD* loop_;
    CONTEXT* context_;
    bool below_or_; // an ORB's constant hides the other bits
    bool changed_ = false;
    int rounds_left_ = max_rounds;
};

bool conversion_only_matters_above(const NODE* tree, INT65 mask) {
    if (tree->op != SCONV || !is_modular(tree->type) || !is_modular(tree->left->type)) return false;
    return promoted_type(tree->type)->size() == promoted_type(tree->left->type)->size() &&
           (mask & ~type_mask(tree->type)).is_zero();
}

// A constant, or a value that int or unsigned int holds: nothing is computed to cut it.
bool is_narrow(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op == ICON) return true;
    if (tree->op == SCONV && is_modular(tree->left->type) && tree->left->type->size() <= tp->int_type()->size())
        return true;
    return is_modular(tree->type) && (value_fits_in_type(tree, tp->int_type(), loop, context) ||
                                      value_fits_in_type(tree, tp->uint_type(), loop, context));
}

// As PROPAGATION::run, and the operand keeps its type, which decides how its user computes.
void PROPAGATION::into_same_type(NODE*& operand, INT65 mask) {
    if (operand->op == SCONV) return; // it is there for its type
    TYPE* type = operand->type;
    operand = coerce_to_type(run(operand, mask), type);
}

// Gives a constant other bits of the type in which its user computes; returns whether it had others. A constant of a
// narrower type, which counts there as extended, takes that type.
bool PROPAGATION::reduce(NODE* icon, INT65 value, TYPE* type) {
    if (icon->type->size() < type->size()) {
        icon->u.lval = icon_as(icon, type);
        icon->type = icon->orig_type = value_type(type);
    }
    value = truncate_to_type(value, icon->type);
    if (value == icon->u.lval) return false;
    icon->u.lval = value;
    return changed_ = true;
}

// x op y, of which only the lower half matters, on a type of two words: computed in one, when the operands are words.
NODE* PROPAGATION::narrowed(NODE* tree, INT65 mask) {
    TYPE* word = tp->uint_type();
    TYPE* type = tree->type;
    if (type->size() <= word->size() || !(mask & ~type_mask(word)).is_zero()) return nullptr;
    if (!is_modular(tree->left->type) || !is_modular(tree->right->type)) return nullptr;
    bool sums = tree->op == PLUS || tree->op == MINUS || tree->op == MULT;
    if (sums && !(is_narrow(tree->left, loop_, context_) && is_narrow(tree->right, loop_, context_))) return nullptr;
    NODE* a = coerce_to_type(tree->left, word);
    NODE* b = coerce_to_type(tree->right, word);
    changed_ = true;
    tree = simp_node(remake(tree, tree->op, a, b, word), loop_, context_);
    return coerce_to_type(run(tree, mask), type);
}

NODE* PROPAGATION::sum(NODE* tree, INT65 mask) {
    if (!is_modular(tree->left->type) || !is_modular(tree->right->type)) return tree;
    if (NODE* result = narrowed(tree, mask)) return result;
    INT65 whole = type_mask(tree->type), needed = smeared(mask);
    if (needed == whole) return tree;
    CHANGES here(changed_);
    for (NODE** operand : {&tree->right, &tree->left}) {
        if ((*operand)->op == ICON) {
            reduce(*operand, bits_of(*operand, tree->type) & needed, tree->type);
            continue;
        }
        INT65 part = needed;
        // No carry comes out of the bits below the constant's and the mask's lowest.
        if (operand == &tree->left && tree->right->op == ICON)
            part = needed & ~low_bits(std::min(trailing_zeros(tree->right->u.lval), trailing_zeros(mask)));
        into(*operand, part);
    }
    if (changed_) clear_mark(tree);
    return tree;
}

NODE* PROPAGATION::product(NODE* tree, INT65 mask) {
    if (!is_modular(tree->left->type) || !is_modular(tree->right->type)) return tree;
    if (NODE* result = narrowed(tree, mask)) return result;
    INT65 needed = smeared(mask);
    if (needed == type_mask(tree->type)) return tree;
    CHANGES here(changed_);
    INT65 for_left = needed;
    if (tree->right->op == ICON) {
        INT65 factor = bits_of(tree->right, tree->type);
        if (factor.is_zero()) return tree;
        for_left = needed >> trailing_zeros(factor);
        bool short_mask = (needed & ~type_mask(tp->ushort_type())).is_zero();
        if (short_mask && power_of_2(factor) < 0) reduce(tree->right, factor & needed, tree->type);
    } else
        into(tree->right, needed);
    into(tree->left, for_left);
    if (changed_) clear_mark(tree);
    return tree;
}

NODE* PROPAGATION::bitwise(NODE* tree, INT65 mask) {
    if (!is_modular(tree->left->type) || !is_modular(tree->right->type)) return tree;
    TYPE* type = tree->type;
    NODE* icon = tree->right->op == ICON ? tree->right : nullptr;
    if (tree->op == ANDB && icon != nullptr && (mask & ~bits_of(icon, type)).is_zero()) {
        changed_ = true;
        return run(left_as_value(tree), mask);
    }
    if (icon == nullptr || tree->op != ANDB)
        if (NODE* result = narrowed(tree, mask)) return result;
    SETTING inside(inside_logical_operator, true);
    // What is below an ANDB's mask is settled by the ANDB's own rule: an ORB's constant there is chosen as that rule
    // does, or the two would undo each other.
    SETTING only_or(below_or_, below_or_ && !(tree->op == ANDB && icon != nullptr));
    INT65 for_left = mask;
    if (icon != nullptr && tree->op == ANDB) {
        // The ANDB's own rule settles the bits that do not matter to it: compare with what it would leave.
        INT65 own_care = care_of_mask(tree->left, type);
        INT65 value = regular_mask(bits_of(icon, type), mask & own_care, type);
        SETTING outside(inside_logical_operator, false);
        reduce(icon, regular_mask(value, own_care, type), type);
        for_left = mask & bits_of(icon, type);
    } else if (icon != nullptr && tree->op == ORB && below_or_)
        reduce(icon, bits_of(icon, type) & mask, type); // more bits here would only make the outer constant shrink
    else if (icon != nullptr)
        reduce(icon, regular_mask(bits_of(icon, type), mask, type), type);
    else
        into(tree->right, mask);
    into(tree->left, for_left);
    return tree;
}

// (x << a) >> b  ->  x shifted once by the difference, where the bits that the shifts lose are masked out
NODE* PROPAGATION::double_shift(NODE* tree, INT65 mask) {
    NODE* inner = tree->left;
    TYPE* type = tree->type;
    if ((inner->op != SLL && inner->op != MULT) || inner->right->op != ICON || !is_modular(inner->left->type))
        return nullptr;
    int left_count = inner->op == SLL ? (inner->right->u.lval.fits_s32() ? inner->right->icon_svalue() : -1)
                                      : power_of_2(inner->right->u.lval);
    int right_count = tree->right->icon_svalue(), width = static_cast<int>(type->size());
    if (left_count <= 0 || left_count >= width ||
        !(mask & ~low_bits(static_cast<unsigned>(width - right_count))).is_zero())
        return nullptr;
    if (inner->op == SLL && !alike(inner->left->type, type)) return nullptr;
    NODE* x = coerce_to_type(inner->left, type);
    int count = right_count - left_count;
    erase_node(inner->right);
    erase_node(inner);
    changed_ = true;
    if (count == 0) {
        tree->left = x;
        return run(left_as_value(tree), mask);
    }
    tree->right->u.lval = INT65(count < 0 ? -count : count);
    return run(simp_node(remake(tree, count < 0 ? SLL : SRL, x, tree->right, type), loop_, context_), mask);
}

NODE* PROPAGATION::right_shift(NODE* tree, INT65 mask) {
    TYPE* type = tree->type;
    unsigned width = type->size();
    if (tree->right->op != ICON || !is_modular(tree->left->type) || !alike(tree->left->type, type)) return tree;
    if (tree->right->u.lval < INT65(1) || tree->right->u.lval >= INT65(width)) return tree;
    if (NODE* result = double_shift(tree, mask)) return result;
    unsigned count = tree->right->u.lval.low;
    bool sign_matters = type->is_signed() && !(mask >> (width - count)).is_zero();
    if (sign_matters) return tree;
    TYPE* other = tp->ullong_type();
    if (type->is_signed() && width == other->size() && count == width / 2) {
        // The upper half alone: without the sign, which the mask hides.
        tree->left = coerce_to_type(tree->left, other);
        NODE* shift = simp_node(remake(tree, SRL, tree->left, tree->right, other), loop_, context_);
        changed_ = true;
        return coerce_to_type(shift, type);
    }
    into_same_type(tree->left, (mask << count) & type_mask(type));
    return tree;
}

// The lowest bit alone: sums and differences are exclusive ors, products are ands, a negation changes nothing.
NODE* PROPAGATION::low_bit(NODE* tree) {
    if (tree->left == nullptr || !is_modular(tree->left->type)) return nullptr;
    if (tree->op == UMINUS) return change(left_as_value(tree));
    if (tree->right == nullptr || !is_modular(tree->right->type)) return nullptr;
    int op = tree->op == MULT ? ANDB : tree->op == PLUS || tree->op == MINUS ? XORB : ILLOP;
    return op == ILLOP ? nullptr : change(remake(tree, op, tree->left, tree->right, tree->type));
}

NODE* PROPAGATION::by_operator(NODE* tree, INT65 mask) {
    switch (tree->op) {
    case ICON: reduce(tree, regular_mask(bits_of(tree, tree->type), mask, tree->type), tree->type); return tree;
    case PLUS:
    case MINUS: return sum(tree, mask);
    case UMINUS:
        if (is_modular(tree->left->type) && smeared(mask) != type_mask(tree->type)) {
            CHANGES here(changed_);
            into(tree->left, smeared(mask));
            if (changed_) clear_mark(tree);
        }
        return tree;
    case MULT: return product(tree, mask);
    case ANDB:
    case ORB:
    case XORB: return bitwise(tree, mask);
    case QUEST:
        if (tree->right->op == COLON && tree->right->left != nullptr && tree->right->right != nullptr) {
            into_same_type(tree->right->left, mask);
            into_same_type(tree->right->right, mask);
        }
        return tree;
    case SRL: return right_shift(tree, mask);
    case SCONV:
        if (is_modular(tree->left->type)) into(tree->left, mask);
        return tree;
    default: return tree;
    }
}

// Brings the tree to the point where its operator counts, and gives the bits of its own type that must stay right;
// false if there is nothing to do.
bool PROPAGATION::prepare(NODE*& tree, INT65 wanted, INT65& mask) {
    for (;;) {
        TYPE* type = tree->type;
        if (!is_modular(type)) return false;
        if (conversion_only_matters_above(tree, wanted)) {
            tree = change(take_left(tree));
            continue;
        }
        INT65 whole = type_mask(type);
        mask = wanted;
        // Bits above a signed type are copies of its sign.
        if (type->is_signed() && !(mask & ~whole).is_zero()) mask = mask | (whole & ~(whole >> (type->size() / 2)));
        mask = mask & whole;
        if (mask == whole && tree->op != SCONV) return false;
        if (mask.is_zero() && tree->op != ICON) {
            NODE* zero = mk_ICON(0, value_type(type));
            tree = change(simp_node(maketree(COMMAOP, tree, zero, zero->type, tree->scope), loop_, context_));
            return false;
        }
        NODE* simpler = mask == INT65(1) ? low_bit(tree) : nullptr;
        if (simpler == nullptr) return true;
        tree = simpler;
    }
}

NODE* PROPAGATION::run(NODE* tree, INT65 wanted) {
    if (propagation_depth >= max_propagation_depth) return tree;
    DEEPER deeper;
    CHANGES here(changed_);
    bool any = false;
    for (;;) {
        changed_ = false;
        INT65 mask;
        bool more = prepare(tree, wanted, mask);
        if (more) {
            TYPE* type = tree->type;
            tree = by_operator(tree, mask);
            bool extended = !(wanted & ~type_mask(type)).is_zero(); // the bits above the type count, too
            if (extended && !alike(tree->type, type)) tree = coerce_to_type(tree, type);
        }
        any |= changed_;
        if (!changed_) break;
        SETTING outside(inside_logical_operator, false);
        tree = simp_node(tree, loop_, context_);
        if (!more || rounds_left_-- <= 0) break;
    }
    changed_ = any;
    return tree;
}

} // namespace

bool mask_changes_subtree(NODE*& tree, INT65 mask, bool below_or, LOOP_RECORD* loop, CONTEXT* context) {
    SETTING outside(inside_logical_operator, false);
    PROPAGATION propagation(below_or, loop, context);
    tree = propagation.run(tree, mask);
    return propagation.changed();
}

NODE* prop_mask_into_subtree(NODE* tree, INT65 mask, LOOP_RECORD* loop, CONTEXT* context) {
    mask_changes_subtree(tree, mask, false, loop, context);
    return tree;
}
