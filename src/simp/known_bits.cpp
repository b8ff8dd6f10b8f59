// Which bits of a tree's value are certainly one, and which may be one.
//
// One walk finds both, as sets within the width of each node. What the walk does not look into may have any bit set.
#include "simp/givens.h"
#include "simp/ranges.h"
#include "simp/value_walk.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

#include <algorithm>

namespace {

constexpr int max_bits_depth = 8;
constexpr int max_bits_nodes = 64; // nodes of one walk

struct BITS {
    uint64_t ones, maybe; // certainly set; possibly set (a superset)
};

uint64_t mask_of(TYPE* type) { return type_mask(type).bits64(); }
uint64_t sign_bit(TYPE* type) { return mask_of(type) ^ (mask_of(type) >> 1); }

uint64_t smear(uint64_t v) { // all bits below the highest one set
    for (int shift = 1; shift < 64; shift *= 2) v |= v >> shift;
    return v;
}

BITS anything(TYPE* type) { return {0, type->is_bool() ? 1 : mask_of(type)}; }
BITS any_result(TYPE* type) { return {0, mask_of(type)}; } // arithmetic in a bool's type is not cut to 0 and 1
BITS constant(INT65 v, TYPE* type) { return {v.bits64() & mask_of(type), v.bits64() & mask_of(type)}; }

// The value of one type, as another type holds it.
BITS converted(BITS b, TYPE* from, TYPE* to) {
    if (to->is_bool() && !from->is_bool()) return b.maybe <= 1 ? b : BITS{0, 1};
    uint64_t above = mask_of(to) & ~mask_of(from);
    if (from->is_signed() && above != 0) {
        if ((b.ones & sign_bit(from)) != 0) b.ones |= above;
        if ((b.maybe & sign_bit(from)) != 0) b.maybe |= above;
    }
    return {b.ones & mask_of(to), b.maybe & mask_of(to)};
}

// a + b + carry. Of a column whose operand bits are known, the sum bit is known if the carry into it is the same in the
// smallest and in the largest sum.
BITS sum(BITS a, BITS b, unsigned carry, TYPE* type) {
    uint64_t largest = a.maybe + b.maybe + carry;
    uint64_t smallest = a.ones + b.ones + carry;
    uint64_t largest_carries = largest ^ a.maybe ^ b.maybe;
    uint64_t smallest_carries = smallest ^ a.ones ^ b.ones;
    uint64_t operands_known = (a.ones | ~a.maybe) & (b.ones | ~b.maybe);
    uint64_t known = operands_known & (~largest_carries | smallest_carries);
    uint64_t mask = mask_of(type);
    return {smallest & known & mask, (largest | ~known) & mask};
}

BITS inverted(BITS b, TYPE* type) {
    uint64_t mask = mask_of(type);
    return {~b.maybe & mask, ~b.ones & mask};
}

BITS product(BITS a, BITS b, TYPE* type) {
    if (a.maybe == 0 || b.maybe == 0) return {0, 0};
    uint64_t mask = mask_of(type);
    if (b.ones == b.maybe && (b.ones & (b.ones - 1)) == 0) // by a power of two
        return {a.ones * b.ones & mask, a.maybe * b.ones & mask};
    uint64_t low_a = a.maybe & (~a.maybe + 1), low_b = b.maybe & (~b.maybe + 1);
    uint64_t low = low_a * low_b; // no product has a lower bit set
    if (low == 0) return {0, 0};
    uint64_t largest, maybe = mask;
    if (!__builtin_mul_overflow(a.maybe, b.maybe, &largest)) maybe &= smear(largest);
    return {0, maybe & ~(low - 1)};
}

// Both operands not negative.
BITS quotient(BITS a, BITS b) {
    uint64_t least = b.ones == 0 ? 1 : b.ones;
    return {0, smear(a.maybe / least)};
}

// The dividend not negative; the divisor's sign does not matter.
BITS remainder(BITS a, BITS b, TYPE* type) {
    uint64_t sign = type->is_signed() ? sign_bit(type) : 0;
    uint64_t maybe = smear(a.maybe);
    if ((b.maybe & sign) == 0) {
        if (b.maybe == 0) return {0, mask_of(type)};           // division by zero
        if (b.ones == b.maybe && (b.ones & (b.ones - 1)) == 0) // by a power of two
            return {a.ones & (b.ones - 1), a.maybe & (b.ones - 1)};
        maybe &= smear(b.maybe - 1);
    }
    return {0, maybe};
}

BITS left_shift(BITS a, INT65 count, TYPE* type) {
    if (count.is_negative() || count >= INT65(type->size())) return {0, 0};
    return {a.ones << count.low & mask_of(type), a.maybe << count.low & mask_of(type)};
}

BITS right_shift(BITS a, INT65 count, TYPE* type) {
    unsigned n = count.is_negative() || count >= INT65(type->size()) ? type->size() : count.low;
    auto shifted = [&](uint64_t v) {
        bool fill = type->is_signed() && (v & sign_bit(type)) != 0;
        uint64_t filled = fill ? v | ~mask_of(type) : v;
        uint64_t r =
            n >= 64 ? (fill ? ~uint64_t{0} : 0) : (filled >> n) | (fill && n != 0 ? ~uint64_t{0} << (64 - n) : 0);
        return r & mask_of(type);
    };
    return {shifted(a.ones), shifted(a.maybe)};
}

// ------------------------------------------------------------------------------------------------------------- walk

class BITS_WALK {
  public:
    BITS bits(NODE* tree, int depth) {
        TYPE* type = tree->type;
        if (depth > max_bits_depth || --nodes_left_ < 0 || !is_integer_like(type)) return any_result(type);
        if (boolean_result[tree->op & 255]) return {0, 1};
        return of_operator(tree, depth);
    }

  private:
    BITS operand(NODE* tree, TYPE* type, int depth) {
        if (tree == nullptr || !(is_integer_like(tree->type) || tree->type->is_ptr())) return any_result(type);
        return converted(bits(tree, depth + 1), tree->type, type);
    }

    static BITS operation(int op, BITS a, BITS b, TYPE* type) {
        uint64_t sign = type->is_signed() ? sign_bit(type) : 0;
        switch (op) {
        case PLUS: return sum(a, b, 0, type);
        case MINUS: return sum(a, inverted(b, type), 1, type);
        case MULT: return product(a, b, type);
        case DIV: return ((a.maybe | b.maybe) & sign) == 0 ? quotient(a, b) : any_result(type);
        case MOD: return (a.maybe & sign) == 0 ? remainder(a, b, type) : any_result(type);
        case ANDB: return {a.ones & b.ones, a.maybe & b.maybe};
        case ORB: return {a.ones | b.ones, a.maybe | b.maybe};
        case XORB: return {(a.ones & ~b.maybe) | (b.ones & ~a.maybe), (a.maybe | b.maybe) & ~(a.ones & b.ones)};
        default: return any_result(type);
        }
    }
    static BITS shift(int op, BITS a, const NODE* count, TYPE* type) {
        if (count->op != ICON) return any_result(type);
        return op == SLL ? left_shift(a, count->u.lval, type) : right_shift(a, count->u.lval, type);
    }

    // The bits as a bit-field keeps them; other lvalues keep all.
    static BITS stored(const NODE* lvalue, BITS b) {
        if (lvalue->op != STDOT && lvalue->op != STREF) return b;
        const fkMDATA* member = lvalue->right->mval;
        TYPE* type = lvalue->type;
        if (member == nullptr || !member->is_bitfield || member->bit_size >= type->size()) return b;
        if (member->bit_size == 0 || member->type->is_signed() != type->is_signed()) return anything(type);
        uint64_t mask = (uint64_t{1} << member->bit_size) - 1;
        uint64_t sign = (mask ^ (mask >> 1));
        BITS r{b.ones & mask, b.maybe & mask};
        if (type->is_signed()) {
            if ((r.ones & sign) != 0) r.ones |= mask_of(type) & ~mask;
            if ((r.maybe & sign) != 0) r.maybe |= mask_of(type) & ~mask;
        }
        return r;
    }

    BITS name(NODE* tree) {
        BITS b = anything(tree->type);
        INT65 factor = max_asserted_ICON_factor(tree);
        if (factor > INT65(1)) b.maybe &= ~((factor.bits64() & (~factor.bits64() + 1)) - 1);
        return b;
    }

    BITS assignment(NODE* tree, int depth) {
        NODE* target = tree->left;
        if (!is_integer_like(target->type)) return any_result(tree->type);
        BITS b;
        if (tree->op == ASG) {
            b = operand(tree->right, target->type, depth);
        } else {
            ASSIGNED_OPERATION computed(tree);
            TYPE* type = computed.type;
            if (!is_integer_like(type)) return any_result(tree->type);
            BITS old = converted(stored(target, anything(target->type)), target->type, type);
            b = computed.shift ? shift(computed.op, old, tree->right, type)
                               : operation(computed.op, old, operand(tree->right, type, depth), type);
            b = converted(b, type, target->type);
        }
        return converted(stored(target, b), target->type, tree->type);
    }

    BITS absolute(BITS a, TYPE* type) {
        uint64_t sign = type->is_signed() ? sign_bit(type) : 0;
        if ((a.maybe & sign) == 0) return a;
        uint64_t low = a.maybe & (~a.maybe + 1); // negation keeps the lowest bit set
        return {0, mask_of(type) & ~(low - 1)};
    }

    BITS of_operator(NODE* tree, int depth) {
        TYPE* type = tree->type;
        switch (tree->op) {
        case ICON: return constant(tree->u.lval, type);
        case NAME: return name(tree);
        case STDOT:
        case STREF: return stored(tree, anything(type));
        case UMULT: return anything(type);
        case PLUS:
        case MINUS:
        case MULT:
        case DIV:
        case MOD:
        case ANDB:
        case ORB:
        case XORB:
            return operation(tree->op, operand(tree->left, type, depth), operand(tree->right, type, depth), type);
        case SLL:
        case SRL: return shift(tree->op, operand(tree->left, type, depth), tree->right, type);
        case NOTB: return inverted(operand(tree->left, type, depth), type);
        case UMINUS: return sum({0, 0}, inverted(operand(tree->left, type, depth), type), 1, type);
        case ABS: return absolute(operand(tree->left, type, depth), type);
        case QUEST: {
            NODE* arms = tree->right;
            if (arms == nullptr || arms->op != COLON || arms->left == nullptr || arms->right == nullptr)
                return any_result(type);
            BITS a = operand(arms->left, type, depth), b = operand(arms->right, type, depth);
            return {a.ones & b.ones, a.maybe | b.maybe};
        }
        case COMMAOP: return operand(tree->right, type, depth);
        case ISP2CHAR: return operand(tree->left, type, depth);
        case PLUSPLUS:
        case MINMIN: // the value before the step
            if (!is_integer_like(tree->left->type)) return any_result(type);
            return converted(stored(tree->left, anything(tree->left->type)), tree->left->type, type);
        default:
            if (gives_left_operand(tree->op)) return operand(tree->left, type, depth);
            if (tree->op == ASG || (op_of_opASG[tree->op & 255] != ILLOP && tree->left != nullptr))
                return assignment(tree, depth);
            return any_result(type);
        }
    }

    int nodes_left_ = max_bits_nodes;
};

} // namespace

INT65 find_known_ones(NODE* tree, TYPE* type) {
    if (!is_integer_like(tree->type)) return INT65();
    return INT65(static_cast<unsigned long long>(converted(BITS_WALK().bits(tree, 0), tree->type, type).ones));
}

INT65 find_known_zeros(NODE* tree, TYPE* type) {
    if (!is_integer_like(tree->type)) return type_mask(type);
    return INT65(static_cast<unsigned long long>(converted(BITS_WALK().bits(tree, 0), tree->type, type).maybe));
}

INT65 find_known_zeros_in_ANDB(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    INT65 mask = type_mask(type);
    INT65 maybe = mask;
    auto narrow = [&](NODE* operand) {
        maybe = maybe & find_known_zeros(operand, type);
        if (operand->op == ICON || !is_integer_like(operand->type)) return;
        VALUE_RANGE r = calculate_range_for_tree(operand, loop, context);
        // A conversion to a type of another range cuts the interval.
        if (r.low < int_type_min(type) || r.high > int_type_max(type)) return;
        maybe = maybe & find_known_zeros_in_range(r.low, r.high);
    };
    for (int depth = 0; depth < max_bits_depth && tree->op == ANDB; depth++, tree = tree->left) {
        if (tree->left->op == ANDB && tree->left->type != type) break;
        narrow(tree->right);
    }
    if (tree->op != ANDB) {
        narrow(tree);
        INT65 factor = max_asserted_ICON_factor(tree, loop, context);
        if (factor > INT65(1)) maybe = maybe & ~((factor & -factor) - INT65(1));
    }
    return maybe & mask;
}

// The bits in which two values differ, and all below: within the interval nothing is known of them.
static INT65 varying_bits(INT65 low, INT65 high) {
    INT65 differ = low ^ high;
    if (differ.is_negative()) return INT65(-1);
    return INT65(static_cast<unsigned long long>(smear(differ.bits64())));
}

INT65 find_known_zeros_in_range(INT65 low, INT65 high) { return high | varying_bits(low, high); }
INT65 find_known_ones_in_range(INT65 low, INT65 high) { return low & ~varying_bits(low, high); }
